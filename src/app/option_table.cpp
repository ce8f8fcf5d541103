#include "app/option_table.h"

#include "app/style_options.h"
#include "app/time_options.h"
#include "base/text.h"
#include "output/date_time.h"

#include <algorithm>
#include <span>
#include <type_traits>

namespace {

struct option_run {
    argument_list& arguments;
    usnjrnl_context& settings;
    option_effects& effects;
    time_window start_time = {};  // of -cmd_start_time, for the one that ends it
};

using option_action = bool (*)(option_run&, const std::string& value);  // false: the option is malformed

struct option {
    std::string_view name;
    std::string_view second_spelling;  // taken only when there is none of the first
    option_action apply;
    bool has_value;
    bool has_effect = true;
};

constexpr option flag(std::string_view name, option_action apply, std::string_view second_spelling = {}) {
    return {name, second_spelling, apply, false};
}

constexpr option valued(std::string_view name, option_action apply, std::string_view second_spelling = {}) {
    return {name, second_spelling, apply, true};
}

// Its value is checked or kept, and nothing acts on it.
constexpr option idle(option one) {
    one.has_effect = false;
    return one;
}

// ---- What options do ---------------------------------------------------------------------------------------------

// Of the settings, the part that a member is in.
template <typename part, typename value>
part& part_with(usnjrnl_context& settings, value part::* /*member*/) {
    if constexpr (std::is_same_v<part, uni::layout_settings>) {
        return settings.layout;
    } else if constexpr (std::is_same_v<part, reading_settings>) {
        return settings.reading;
    } else {
        return settings;
    }
}

template <auto member, bool to = true>
bool switch_to(option_run& run, const std::string&) {
    part_with(run.settings, member).*member = to;
    return true;
}

template <auto member>
bool store(option_run& run, const std::string& value) {
    part_with(run.settings, member).*member = value;
    return true;
}

template <void (*change)(uni::layout_settings&)>
bool change_style(option_run& run, const std::string&) {
    change(run.settings.layout);
    return true;
}

template <uni::layout chosen>
bool choose(option_run& run, const std::string&) {
    choose_layout(run.settings.layout, chosen);
    return true;
}

bool pull_times(option_run& run, const std::string&) {
    run.settings.layout.pull_times = run.settings.reading.pull_times = true;
    return true;
}

// Names whole in every layout: those of a document too.
bool read_all(option_run& run, const std::string&) {
    run.settings.reading.complete = run.settings.layout.complete = run.settings.layout.xml_escape = true;
    return true;
}

bool tell_past_paths(option_run& run, const std::string&) {
    run.settings.layout.path_history = run.settings.reading.path_history = true;
    run.settings.reading.show_dir_path = true;
    return true;
}

template <bool reading_settings::*area>
bool include(option_run& run, const std::string&) {
    run.settings.reading.*area = true;
    run.settings.layout.show_type = true;
    return true;
}

bool no_effect(option_run&, const std::string&) { return true; }

// -pipe: the run header is composed from the arguments as typed.
bool told_by_the_header(option_run&, const std::string&) { return true; }

bool open_log(option_run& run, const std::string& path) {
    if (!run.effects.open_log(path)) return true;
    run.settings.log_path = path;
    if (!option_flag("-l2", run.arguments)) (void)option_flag("-l3", run.arguments);
    return true;
}

bool set_results_path(option_run& run, const std::string& value) {
    std::string& path = run.settings.results_path;
    path = expand_env_path(value);
    replace_all(path, '/', '\\');
    if (run.effects.can_create_results(path)) return true;
    if (option_flag("-append", run.arguments) && run.effects.can_create_results(path)) return true;
    run.effects.say("prob opening file " + path + " for output, aborting\n");
    return false;
}

// Taken behind the results file, which it must not be.
bool set_report_path(option_run& run, const std::string& value) {
    std::string& path = run.settings.report_path;
    path = expand_env_path(value);
    replace_all(path, '/', '\\');
    if (!run.effects.can_create_results(path)) {
        run.effects.say("prob opening file " + path + " for output, aborting\n");
        return false;
    }
    if (run.settings.results_path.empty() || run.effects.are_apart(path, run.settings.results_path)) return true;
    run.effects.say("prob -report and -out name one file, " + path + ", aborting\n");
    return false;
}

bool refuse_date(option_run& run, const std::string& value) {
    run.effects.say("prob date " + value + " is not year-month-day, aborting\n");
    return false;
}

bool set_start_time(option_run& run, const std::string& value) {
    const window_text read = read_time_window(value, "00:00:00", run.start_time);
    if (read == window_text::malformed) return refuse_date(run, value);
    if (read == window_text::invalid) run.effects.say("invalid start time, ignoring\n");
    return true;
}

bool set_stop_time(option_run& run, const std::string& value) {
    const time_window& start = run.start_time;
    time_window stop;
    const window_text read = read_time_window(value, "23:59:59", stop);
    if (read == window_text::malformed) return refuse_date(run, value);
    if (read == window_text::invalid || (start.valid && stop.filetime < start.filetime)) {
        run.effects.say("invalid stop time, ignoring\n");
    }
    return true;
}

template <std::uint64_t uni::record_choice::*limit>
bool set_limit(option_run& run, std::string_view option, const std::string& value) {
    uni::record_choice& choice = run.settings.layout.choice;
    choice.by_time = true;
    if (read_utc_time(value, choice.*limit)) return true;
    run.effects.say("prob " + std::string(option) + " " + value +
                    " is no time, give one like 2022-03-10 or 2022-03-10T21:00 (UTC), aborting\n");
    return false;
}

bool set_from(option_run& run, const std::string& value) {
    return set_limit<&uni::record_choice::from>(run, "-from", value);
}

// The second of the two to be taken.
bool set_to(option_run& run, const std::string& value) {
    if (!set_limit<&uni::record_choice::to>(run, "-to", value)) return false;
    const uni::record_choice& choice = run.settings.layout.choice;
    if (choice.from < choice.to) return true;
    run.effects.say(
        "prob -to " + value +
        " leaves no time behind -from, give a window like -from 2022-03-10T21:00 -to 2022-03-11, aborting\n");
    return false;
}

bool add_pattern(option_run& run, const std::string& value) {
    if (value.empty()) {
        run.effects.say("prob -find has an empty pattern, give one like *.docx, aborting\n");
        return false;
    }
    uni::record_choice& choice = run.settings.layout.choice;
    const bool of_paths = value.find('\\') != std::string::npos;
    (of_paths ? choice.paths : choice.names).push_back(uni::folded_pattern(value));
    return true;
}

// However often it is given.
bool add_patterns(option_run& run, const std::string& first) {
    bool readable = add_pattern(run, first);
    for (std::string more; readable && option_value("-find", more, run.arguments);) readable = add_pattern(run, more);
    return readable;
}

bool change_separator(option_run& run, const std::string& value) {
    set_separator(run.settings.layout, value);
    return true;
}

template <bool (*accepts)(std::string_view), auto format>
bool set_format(option_run& run, const std::string& value) {
    if (accepts(value)) {
        part_with(run.settings, format).*format = lower_case(value);
    } else {
        run.effects.say("invalid " + value + ", using default format\n");
    }
    return true;
}

bool check_alias(option_run& run, const std::string& value) {
    const bool pairs = std::ranges::count(value, '|') % 2 == 1;
    if (!pairs) run.effects.say("imbalanced alias to true pathfiles, aborting\n");
    return pairs;
}

bool refuse(option_run& run, const std::string&) {
    run.effects.say("This option is not offered in this build\n");
    return false;
}

bool set_mft_file(option_run& run, const std::string& value) {
    run.settings.reading.mft_file_path = expand_env_path(value);
    run.settings.reading.show_dir_path = true;
    return true;
}

// ---- The options, in the order of their taking -------------------------------------------------------------------

constexpr option general_options[] = {
    flag("-jsonl", choose<uni::layout::jsonl>),  // first of all: every other style wins over it
    valued("-from", set_from),                   // before anything is opened
    valued("-to", set_to),
    valued("-find", add_patterns),
    flag("-unique", switch_to<&uni::layout_settings::unique>),

    flag("-pair_datetime", switch_to<&uni::layout_settings::pair_date_time>),
    valued("-diags", open_log),  // with -l2, -l3

    // Of several styles the last one here wins.
    flag("-csv", change_style<choose_csv>),
    flag("-csvgen", change_style<choose_csvgen>),
    flag("-csvl2t", choose<uni::layout::csvl2t>),
    flag("-bodyfile", choose<uni::layout::bodyfile>),
    flag("-xml", choose<uni::layout::xml>),
    flag("-multiline", choose<uni::layout::multiline>),

    valued("-out", set_results_path, "-outfile"),  // with -append
    valued("-report", set_report_path),
    flag("-profile", switch_to<&usnjrnl_context::profile>),
    flag("-pipe", told_by_the_header),
    valued("-signal", store<&usnjrnl_context::signal_name>),
    valued("-hostname", store<&uni::layout_settings::host_name>),
    valued("-username", store<&uni::layout_settings::user_name>),
    idle(valued("-cmd_start_time", set_start_time)),
    idle(valued("-cmd_stop_time", set_stop_time)),
    flag("-base10", switch_to<&uni::layout_settings::hexadecimal, false>),
    flag("-base16", switch_to<&uni::layout_settings::hexadecimal>),
    valued("-csv_separator", change_separator),
    flag("-no_whitespace", change_style<remove_whitespace>),
    valued("-dateformat", set_format<is_date_format, &uni::layout_settings::date_format>),
    valued("-timeformat", set_format<is_time_format, &uni::layout_settings::time_format>),
    flag("-verbose", no_effect, "-v"),
    flag("-quiet", switch_to<&usnjrnl_context::progress, false>),

    // Known to sister programs; here they are only kept from being mistaken for something else.
    flag("-gzip", no_effect),
    flag("-zlib", no_effect),
    valued("-zlibex", no_effect),
    valued("-threads", no_effect),
    flag("-split_pathfile", no_effect),
    valued("-cpuinst", no_effect),
    valued("-cpu", no_effect),
    valued("-fragment_files", no_effect),
    flag("-separate_files", no_effect),
    valued("-outdir", no_effect),
    valued("-enumdir", no_effect),
    valued("-num_subdirs", no_effect),
    valued("-filter", no_effect),
    valued("-filter_path", no_effect),
    valued("-filter_sig", no_effect),
    idle(valued("-alias", check_alias)),
    idle(valued("-aliaspath", check_alias)),
    valued("-sqlite", refuse),
    valued("-sqlite_log", refuse),
};

constexpr option journal_options[] = {
    flag("-pulltimes", pull_times),
    flag("-a", switch_to<&uni::layout_settings::closed_only, false>),
    flag("-show_dir_path", switch_to<&reading_settings::show_dir_path>),
    flag("-path_history", tell_past_paths),
    valued("-mftfile", set_mft_file),
    flag("-show_offset", switch_to<&uni::layout_settings::show_offset>),
    flag("-include_slack_space", include<&reading_settings::include_slack>),
    flag("-include_unalloc_clusters", include<&reading_settings::include_unalloc>),
    flag("-include_vss_clusters", include<&reading_settings::include_vss>),
    flag("-xml_escape", switch_to<&uni::layout_settings::xml_escape>),
    flag("-complete", read_all),
    flag("-rebuild_mft", switch_to<&reading_settings::rebuild_mft>),
};

bool take(const option& wanted, std::string_view spelling, std::string& value, argument_list& arguments) {
    return wanted.has_value ? option_value(spelling, value, arguments) : option_flag(spelling, arguments);
}

bool take_in_order(std::span<const option> options, option_run& run) {
    for (const option& wanted : options) {
        std::string value;
        std::string_view spelling = wanted.name;
        bool taken = take(wanted, spelling, value, run.arguments);
        if (!taken && !wanted.second_spelling.empty()) {
            spelling = wanted.second_spelling;
            taken = take(wanted, spelling, value, run.arguments);
        }
        if (!taken) continue;
        run.effects.took(spelling, value);
        if (!wanted.apply(run, value) && run.effects.stops_at_failure()) return false;
    }
    return true;
}

const option* find_in(std::span<const option> options, std::string_view name) {
    const auto found = std::ranges::find_if(options, [name](const option& one) {
        return equal_ignoring_case(one.name, name) ||
               (!one.second_spelling.empty() && equal_ignoring_case(one.second_spelling, name));
    });
    return found == options.end() ? nullptr : &*found;
}

}  // namespace

std::optional<option_traits> traits_of(std::string_view name) {
    const option* found = find_in(general_options, name);
    if (found == nullptr) found = find_in(journal_options, name);
    if (found == nullptr) return std::nullopt;
    return option_traits{.takes_value = found->has_value, .has_effect = found->has_effect && found->apply != no_effect};
}

bool take_options(argument_list& arguments, usnjrnl_context& settings, option_effects& effects) {
    option_run run{arguments, settings, effects};
    if (!take_in_order(general_options, run)) return false;

    // Nothing is left to refuse: both patterns are the defaults or were accepted.
    uni::layout_settings& layout = settings.layout;
    (void)uni::parse_time_formats(layout.time_format_flags, layout.date_format, layout.time_format,
                                  layout.pair_date_time);
    return take_in_order(journal_options, run);
}
