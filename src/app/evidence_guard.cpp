#include "app/evidence_guard.h"

#include "app/journal_source.h"
#include "app/option_table.h"
#include "base/text.h"
#include "platform/platform.h"

#include <algorithm>
#include <optional>

namespace {

// Answers for the files that are not opened here. Which arguments are taken depends on these answers (-l2 and -l3 on an
// open log, -append on a results file that could not be created), so the guard asks for each.
class answered_effects final : public silent_effects {
public:
    answered_effects(bool log_opens, bool results_open) : log_opens_(log_opens), results_open_(results_open) {}

    bool open_log(const std::string&) override { return log_opens_; }
    bool can_create_results(const std::string&) override { return results_open_; }

private:
    bool log_opens_;
    bool results_open_;
};

}  // namespace

evidence_guard::evidence_guard(const argument_list& arguments) {
    for (const bool log_opens : {true, false}) {
        for (const bool results_open : {true, false}) {
            argument_list left = arguments;
            usnjrnl_context settings;
            answered_effects effects(log_opens, results_open);
            (void)take_options(left, settings, effects);  // with these effects it never gives up
            add(settings.reading.mft_file_path);
            for (const std::string_view option : source_options) add_values(option, left);
        }
    }
}

bool evidence_guard::is_source(const std::string& native_path) const {
    if (platform::is_raw_device(native_path)) return true;
    const std::optional<std::string> identity = platform::identity_of(native_path);
    return identity && std::ranges::any_of(sources_, [&](const std::string& source) {
               return platform::identity_of(source) == identity || platform::identity_behind(source) == identity;
           });
}

void evidence_guard::add(const std::string& path) {
    std::string one = path;
    while (!one.empty() && std::ranges::find(sources_, one) == sources_.end()) {
        sources_.push_back(one);
        one = platform::backing_file(one);
    }
}

// Every place counts, also where the value of one is the next option's name.
void evidence_guard::add_values(std::string_view option, const argument_list& arguments) {
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (!equal_ignoring_case(arguments[i], option)) continue;
        for (const std::string& node : nodes_of(source_named(option, arguments[i + 1]))) add(node);
    }
}
