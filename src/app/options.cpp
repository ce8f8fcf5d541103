#include "app/options.h"

#include "app/evidence_guard.h"
#include "app/option_table.h"
#include "base/diagnostic_log.h"
#include "output/output_file.h"
#include "output/status_line.h"
#include "platform/platform.h"

#include <memory>
#include <utility>

namespace {

class real_effects final : public option_effects {
public:
    real_effects(const argument_list& arguments, uni::status_line& status, diagnostic_log& log)
        : guard_(arguments), command_line_(join_arguments(arguments, '"')), status_(status), log_(log) {}

    bool open_log(const std::string& path) override {
        if (guard_.is_source(path)) {
            status_.report_problem("prob opening file %s for output, log is off\n", path.c_str());
            return false;
        }
        const auto file = std::make_shared<uni::output_file>();
        if (!file->open(path, false, true)) return false;
        // Nothing is buffered: a line is in the file when this returns. A log that cannot grow does not end a run, but
        // the user is told, once.
        log_.open([file, path, &status = status_](std::string_view text) {
            if (file->failed() || file->append_text("->" + std::string(text) + "\n")) return;
            status.report_problem("prob writing file %s, log is off\n", path.c_str());
        });
        log_.line(command_line_);
        return true;
    }

    // Only a regular file or a new one is tried, by making it and taking it away again. What lies behind a link or a
    // device is left alone until it is opened for good.
    bool can_create_results(const std::string& stored_path) override {
        const std::string path = platform::native_results_path(stored_path);
        if (guard_.is_source(path)) return false;
        switch (platform::kind_of(path)) {
            case platform::path_kind::folder: return false;
            case platform::path_kind::link: return platform::kind_of_target(path) != platform::path_kind::folder;
            case platform::path_kind::other: return true;
            case platform::path_kind::absent:
            case platform::path_kind::regular_file: break;
        }
        uni::output_file file;
        if (!file.open(path, false, true)) return false;
        file.close();
        (void)platform::remove_file(path);
        return true;
    }

    // A file that is not there yet is known by what it is when the other has been made.
    bool are_apart(const std::string& one, const std::string& other) override {
        const std::string path = platform::native_results_path(one);
        uni::output_file file;
        const bool made = platform::kind_of(path) == platform::path_kind::absent && file.open(path, false, true);
        const auto identity = platform::identity_of(path);
        const bool apart = !identity || identity != platform::identity_of(platform::native_results_path(other));
        file.close();
        if (made) (void)platform::remove_file(path);
        return apart;
    }

    void say(std::string_view text) override { status_.say(text); }
    [[nodiscard]] bool stops_at_failure() const override { return true; }

private:
    evidence_guard guard_;
    std::string command_line_;
    uni::status_line& status_;
    diagnostic_log& log_;
};

// What the options come to, before any of them has an effect.
usnjrnl_context planned_settings(argument_list arguments) {
    usnjrnl_context planned;
    silent_effects effects;
    (void)take_options(arguments, planned, effects);  // with these effects it never gives up
    return planned;
}

}  // namespace

bool parse_options(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status, diagnostic_log& log) {
    if (usnjrnl_context planned = planned_settings(arguments);
        !planned.layout.choice.paths.empty() && !planned.reading.show_dir_path) {
        settings = std::move(planned);  // the layout says what goes out all the same
        status.say("prob a pattern of -find has a \\ and paths are not known, give -show_dir_path too, aborting\n");
        return false;
    }
    real_effects effects(arguments, status, log);
    return take_options(arguments, settings, effects);
}
