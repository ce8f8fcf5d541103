#include "app/source_pull.h"

#include "app/volume_opening.h"
#include "journal/carving.h"
#include "journal/journal_collection.h"
#include "journal/journal_file.h"
#include "journal/path_resolution.h"
#include "journal/volume_journal.h"
#include "ntfs/ntfs_volume.h"
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
        open_mft_source();
        if (run_.show_dir_path) run_.journal->number_pairs();
        switch (run_.source) {
            case source_kind::extracted_file: pull_file(); break;
            case source_kind::device_path: pull_device(); break;
            case source_kind::live_volume: pull_live_volume(run_.volume_path); break;
            case source_kind::image: pull_image(); break;
        }
    }

    // Path columns without an MFT would call every file deleted, so they are left out and the user is told.
    void resolve_paths() {
        if (!run_.show_dir_path) return;
        const in_phase resolving(*run_.meter, phase::resolve);
        ntfs_volume* const mft_source = mft_file_ != nullptr ? mft_file_.get() : volume_.get();
        const std::uint64_t read_before = mft_source == nullptr ? 0 : mft_source->reader().bytes_read();
        run_.show_dir_path = mft_source != nullptr && resolve_journal_paths(run_, *mft_source);
        if (run_.show_dir_path) {
            const std::uint64_t read = mft_source->reader().bytes_read() - read_before;
            run_.meter->count(phase::resolve, run_.journal->size(), read);
        } else {
            status_.report_problem("prob no usable $MFT, paths not resolved\n");
        }
    }

private:
    // An exported $MFT goes before that of the volume.
    void open_mft_source() {
        if (run_.mft_file_path.empty()) return;
        mft_file_ = std::make_unique<ntfs_volume>(log_);
        run_.show_dir_path = mft_file_->open_mft_file(run_.mft_file_path);
        if (run_.show_dir_path) return;
        mft_file_.reset();
        status_.report_problem("prob opening mft file: %s, paths not resolved\n", run_.mft_file_path.c_str());
    }

    void pull_file() {
        if (read_extracted_journal(run_)) return;
        if (is_volume_journal_path(run_.journal_path)) {
            pull_live_volume(run_.journal_path.substr(0, 1));
        } else {
            status_.report_problem("prob reading %s\n", run_.journal_path.c_str());
        }
    }

    void pull_device() {
        if (!open_volume(run_.volume_path, reader_mode_of(run_.volume_path), 0)) {
            status_.report_problem("prob reading volume %s\n", run_.volume_path.c_str());
            report_damaged_mft(mft_damaged_, status_);
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from %s\n", run_.volume_path.c_str());
        }
    }

    void pull_live_volume(const std::string& path) {
        if (!open_volume(path, reader_mode_of(path), 0) || !has_journal()) {
            status_.report_problem("prob reading %s\n", run_.journal_path.c_str());
            report_damaged_mft(mft_damaged_, status_);
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from %s\n", run_.journal_path.c_str());
        }
    }

    void pull_image() {
        const auto offset = static_cast<std::uint64_t>(run_.volume_offset);
        if (!open_volume(run_.image_path, reader_mode::image_file, offset) || !has_journal()) {
            status_.report_problem("prob reading file %s in unmounted image %s\n", run_.journal_path.c_str(),
                                   run_.image_path.c_str());
            report_damaged_mft(mft_damaged_, status_);
        } else if (!run_passes()) {
            status_.report_problem("prob pulling data from file %s in unmounted image %s\n", run_.journal_path.c_str(),
                                   run_.image_path.c_str());
        }
    }

    [[nodiscard]] bool open_volume(const std::string& path, reader_mode mode, std::uint64_t volume_offset) {
        volume_ = std::move(run_.rebuilt_volume);
        if (volume_ == nullptr) {
            volume_ = open_volume_at(path, mode, volume_offset, run_, status_, log_, mft_damaged_);
        }
        return volume_ != nullptr;
    }

    [[nodiscard]] bool has_journal() { return volume_->paths().find(journal_in_volume, link_mode::follow).has_value(); }

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
        run_.meter->wipe();
        if (run_.progress) status_.say(text);
    }

    usnjrnl_context& run_;
    uni::status_line& status_;
    const diagnostic_log& log_;
    std::shared_ptr<ntfs_volume> volume_;
    std::unique_ptr<ntfs_volume> mft_file_;
    bool mft_damaged_ = false;
};

void report_lost_bytes(const usnjrnl_context& run, uni::status_line& status) {
    if (run.lost_bytes == 0) return;
    status.report_problem("prob reading %llu bytes of %s, records may be missing\n",
                          static_cast<unsigned long long>(run.lost_bytes), run.source_text.c_str());
}

}  // namespace

bool pull_source(usnjrnl_context& run, uni::status_line& status, const diagnostic_log& log) {
    if (run.journal_path.empty()) return false;
    source_pull source(run, status, log);
    source.pull();
    report_lost_bytes(run, status);
    source.resolve_paths();
    return run.journal->size() != 0;
}
