#include "app/source_pull.h"

#include "app/volume_opening.h"
#include "journal/carving.h"
#include "journal/gathered_history.h"
#include "journal/journal_file.h"
#include "journal/path_resolution.h"
#include "journal/volume_journal.h"
#include "ntfs/ntfs_volume.h"
#include "platform/platform.h"

#include <utility>

namespace {

// The source of one run while it is pulled; a volume is closed with it.
class source_pull {
public:
    source_pull(opened_source&& opened, const reading_settings& asked, journal_intake& intake,
                const run_console& console)
        : source_(std::move(opened.source)),
          image_(std::move(opened.image)),
          asked_(asked),
          with_paths_(asked.show_dir_path),
          intake_(intake),
          console_(console) {
        left_.typed = source_.typed;
        left_.volume = std::move(opened.volume);
    }

    void pull() {
        open_mft_source();
        if (with_paths_) intake_.records().number_pairs();
        if (asked_.path_history) intake_.gather_history();
        if (source_.kind == source_kind::extracted_file) {
            pull_file();
        } else {
            pull_volume();
        }
        report_lost_bytes();
    }

    // Path columns without an MFT would call every file deleted, so they are left out and the user is told. The paths
    // that files had are known without one too.
    void resolve_paths() {
        if (!with_paths_) return;
        const in_phase resolving(console_.meter, phase::resolve);
        std::unique_ptr<gathered_history> history = intake_.take_history();
        if (history != nullptr) {
            announce("analyzing: path history...\n");
            console_.meter.count(phase::history, intake_.records().size(), 0);
        }
        ntfs_volume* const mft_source = left_.mft();
        const bool has_mft = mft_source != nullptr && mft_source->mount();
        const std::uint64_t read_before = has_mft ? mft_source->reader().bytes_read() : 0;
        const resolution_settings wanted{.pull_times = asked_.pull_times, .complete = asked_.complete};
        if (!has_mft && history != nullptr) {
            resolve_past_paths(intake_.records(), std::move(history), asked_.complete);
        } else if (has_mft &&
                   resolve_journal_paths(intake_.records(), *mft_source, wanted, console_.shown, std::move(history))) {
            const std::uint64_t read = mft_source->reader().bytes_read() - read_before;
            console_.meter.count(phase::resolve, intake_.records().size(), read);
        } else {
            console_.status.report_problem("prob no usable $MFT, paths not resolved\n");
        }
    }

    [[nodiscard]] pulled_source take_what_is_left() { return std::move(left_); }

private:
    // An exported $MFT goes before that of the volume.
    void open_mft_source() {
        if (asked_.mft_file_path.empty()) return;
        left_.mft_file = std::make_unique<ntfs_volume>(console_.log);
        if (asked_.complete) left_.mft_file->take_records(record_sizes::all);
        left_.mft_refused = !left_.mft_file->open_mft_file(asked_.mft_file_path);
        if (!left_.mft_refused) return;
        left_.mft_file.reset();
        with_paths_ = asked_.path_history;
        console_.status.report_problem("prob opening mft file: %s, %s\n", asked_.mft_file_path.c_str(),
                                       with_paths_ ? "paths are told by the journal alone" : "paths not resolved");
    }

    void pull_file() {
        disk_reader file;
        if (file.open(source_.path, source_.mode)) {
            left_.size = file.disk_size();
            read_extracted_journal(file, intake_, console_.shown);
            if (intake_.records().size() == 0 && intake_.lost_bytes() == 0) report_no_records();
        } else if (journal_source volume = live_volume_behind(source_); !volume.path.empty()) {
            source_ = std::move(volume);
            pull_volume();
        } else {
            console_.status.report_problem("prob reading %s\n", source_.path.c_str());
        }
    }

    void pull_volume() {
        bool mft_damaged = false;
        if (left_.volume == nullptr)
            left_.volume = open_volume(source_, std::move(image_), asked_, console_, mft_damaged);
        if (left_.volume == nullptr) {
            report_unreadable();
            report_damaged_mft(mft_damaged, console_.status);
            return;
        }
        left_.size = left_.volume->clusters().source_size();
        const auto announce_journal = [this] { announce("analyzing: normal USNJRNL data...\n"); };
        switch (read_volume_journal(*left_.volume, intake_, console_.shown, announce_journal)) {
            case journal_found::no: report_unreadable(); break;
            case journal_found::unreadable: report_nothing_pulled(); break;
            case journal_found::yes:
                carve();
                if (intake_.records().size() == 0) report_nothing_pulled();
                return;
        }
        // That a journal was deleted is a reason to carve.
        carve();
    }

    void carve() {
        carving_run run{.volume = *left_.volume, .intake = intake_, .shown = console_.shown};
        if (asked_.include_unalloc) {
            announce("analyzing: unalloc clusters...\n");
            carve_unallocated(run);
        }
        if (asked_.include_vss) {
            announce("analyzing: vss clusters...\n");
            carve_shadow_stores(run);
        }
        if (asked_.include_slack) {
            announce("analyzing: slack space...\n");
            carve_slack(run);
        }
    }

    void announce(std::string_view text) {
        console_.shown.wipe();
        if (console_.shown.wanted()) console_.status.say(text);
    }

    void report_no_records() const {
        const std::string& path = source_.path;
        const bool endless =
            platform::kind_of_target(path) == platform::path_kind::other && !platform::is_raw_device(path);
        console_.status.report_problem("prob no change records in %s%s\n", path.c_str(),
                                       endless ? ", which is no file" : "");
    }

    // The volume, or the journal on it.
    void report_unreadable() const {
        if (source_.kind == source_kind::image) {
            console_.status.report_problem("prob reading file %s in unmounted image %s\n", source_.journal_path.c_str(),
                                           source_.path.c_str());
        } else if (source_.kind == source_kind::device_path) {
            report_nothing_pulled();  // the volume was there when it was chosen
        } else {
            console_.status.report_problem("prob reading %s\n", source_.journal_path.c_str());
        }
    }

    void report_nothing_pulled() const {
        if (source_.kind == source_kind::image) {
            console_.status.report_problem("prob pulling data from file %s in unmounted image %s\n",
                                           source_.journal_path.c_str(), source_.path.c_str());
        } else {
            const bool device = source_.kind == source_kind::device_path;
            console_.status.report_problem("prob pulling data from %s\n",
                                           (device ? source_.path : source_.journal_path).c_str());
        }
    }

    void report_lost_bytes() const {
        if (intake_.lost_bytes() == 0) return;
        console_.status.report_problem("prob reading %llu bytes of %s, records may be missing\n",
                                       static_cast<unsigned long long>(intake_.lost_bytes()), source_.typed.c_str());
    }

    journal_source source_;
    disk_reader image_;
    pulled_source left_;
    const reading_settings& asked_;
    bool with_paths_;
    journal_intake& intake_;
    const run_console& console_;
};

}  // namespace

ntfs_volume* pulled_source::mft() const {
    return mft_file != nullptr ? mft_file.get() : mft_refused ? nullptr : volume.get();
}

pulled_source pull_source(opened_source opened, const reading_settings& asked, journal_intake& intake,
                          const run_console& console) {
    source_pull source(std::move(opened), asked, intake, console);
    source.pull();
    source.resolve_paths();
    return source.take_what_is_left();
}
