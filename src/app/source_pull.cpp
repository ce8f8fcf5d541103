#include "app/source_pull.h"

#include "journal/carving.h"
#include "journal/journal_collection.h"
#include "journal/journal_file.h"
#include "journal/volume_journal.h"
#include "ntfs/ntfs_volume.h"
#include "ntfs/path_lookup.h"
#include "storage/volume_names.h"

#include <memory>

namespace {

constexpr std::u16string_view journal_in_volume = u"\\$Extend\\$UsnJrnl";

// The source of one run while it is pulled; a volume is closed with it.
class source_pull {
public:
    source_pull(usnjrnl_context& run, uni::status_line& status, const diagnostic_log& log)
        : run_(run), status_(status), log_(log) {}

    void pull() {
        switch (run_.source) {
            case source_kind::extracted_file: pull_file(); break;
            case source_kind::device_path: pull_device(); break;
            case source_kind::live_volume: pull_live_volume(run_.volume_path); break;
            case source_kind::image: pull_image(); break;
        }
    }

private:
    void pull_file() {
        if (read_extracted_journal(run_)) return;
        if (is_volume_journal_path(run_.journal_path)) {
            pull_live_volume(run_.journal_path.substr(0, 1));
        } else {
            status_.report_problem("prob reading %s\n", run_.journal_path.c_str());
        }
    }

    void pull_device() {
        volume_ = open_volume_at(run_.volume_path, 0, log_);
        if (volume_ == nullptr) {
            status_.report_problem("prob reading volume %s\n", run_.volume_path.c_str());
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from %s\n", run_.volume_path.c_str());
        }
    }

    void pull_live_volume(const std::string& path) {
        volume_ = open_volume_at(path, 0, log_);
        if (volume_ == nullptr || !has_journal()) {
            status_.report_problem("prob reading %s\n", run_.journal_path.c_str());
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from %s\n", run_.journal_path.c_str());
        }
    }

    void pull_image() {
        volume_ = std::make_unique<ntfs_volume>(log_);
        const auto offset = static_cast<std::uint64_t>(run_.volume_offset);
        if (!volume_->open_volume(run_.image_path, reader_mode::image_file, offset) || !volume_->mount() ||
            !has_journal()) {
            status_.report_problem("prob reading file %s in unmounted image %s\n", run_.journal_path.c_str(),
                                   run_.image_path.c_str());
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from file %s in unmounted image %s\n", run_.journal_path.c_str(),
                                   run_.image_path.c_str());
        }
    }

    [[nodiscard]] bool has_journal() {
        found_path found;
        return lookup_path_entry(*volume_, journal_in_volume, link_mode::follow, found);
    }

    [[nodiscard]] bool run_passes() {
        if (!read_volume_journal(*volume_, run_, [this] { announce("analyzing: normal USNJRNL data...\n"); }))
            return false;
        progress_sink progress;
        if (run_.progress) {
            progress = [this](std::string_view text) {
                status_.show_status("%.*s", static_cast<int>(text.size()), text.data());
            };
        }
        if (run_.include_unalloc) {
            announce("analyzing: unalloc clusters...\n");
            (void)carve_unallocated(*volume_, run_, progress);
        }
        if (run_.include_vss) {
            announce("analyzing: vss clusters...\n");
            (void)carve_shadow_stores(*volume_, run_, progress);
        }
        if (run_.include_slack) {
            announce("analyzing: slack space...\n");
            (void)carve_slack(*volume_, run_, progress);
        }
        return run_.found_something;
    }

    void announce(std::string_view text) {
        if (run_.progress) status_.say(text);
    }

    usnjrnl_context& run_;
    uni::status_line& status_;
    const diagnostic_log& log_;
    std::unique_ptr<ntfs_volume> volume_;
};

void report_lost_bytes(const usnjrnl_context& run, uni::status_line& status) {
    if (run.lost_bytes == 0) return;
    status.report_problem("prob reading %llu bytes of %s, records may be missing\n",
                          static_cast<unsigned long long>(run.lost_bytes), run.source_text.c_str());
}

// Path columns without an MFT would call every file deleted, so they are left out and the user is told.
void drop_paths_without_mft(usnjrnl_context& run, uni::status_line& status) {
    if (!run.show_dir_path) return;
    run.show_dir_path = false;
    if (run.mft_file_path.empty()) {
        status.report_problem("prob no usable $MFT, paths not resolved\n");
    } else {
        status.report_problem("prob opening mft file: %s, paths not resolved\n", run.mft_file_path.c_str());
    }
}

}  // namespace

bool pull_source(usnjrnl_context& run, uni::status_line& status, const diagnostic_log& log) {
    if (run.journal_path.empty()) return false;
    source_pull(run, status, log).pull();
    report_lost_bytes(run, status);
    drop_paths_without_mft(run, status);
    return run.journal->size() != 0;
}
