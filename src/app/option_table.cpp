#include "app/option_table.h"

#include "app/style_options.h"
#include "app/time_options.h"
#include "base/text.h"
#include "output/date_time.h"

#include <algorithm>
#include <span>

namespace {

struct option_run {
    argument_list& arguments;
    usnjrnl_context& settings;
    option_effects& effects;
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

template <auto member, bool to = true>
bool switch_to(option_run& run, const std::string&) {
    run.settings.*member = to;
    return true;
}

template <auto member>
bool store(option_run& run, const std::string& value) {
    run.settings.*member = value;
    return true;
}

template <void (*change)(cmd_params&)>
bool change_style(option_run& run, const std::string&) {
    change(run.settings);
    return true;
}

template <auto area>
bool include(option_run& run, const std::string&) {
    run.settings.*area = true;
    run.settings.extra_scan = true;
    return true;
}

bool no_effect(option_run&, const std::string&) { return true; }

bool open_log(option_run& run, const std::string& path) {
    if (!run.effects.open_log(path, run.settings.command_line)) return true;
    run.settings.log_path = path;
    if (option_flag("-l2", run.arguments)) {
        run.settings.log_level = 2;
    } else if (option_flag("-l3", run.arguments)) {
        run.settings.log_level = 3;
    }
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

bool refuse_date(option_run& run, const std::string& value) {
    run.effects.say("prob date " + value + " is not year-month-day, aborting\n");
    return false;
}

bool set_start_time(option_run& run, const std::string& value) {
    const window_text read = read_time_window(value, "00:00:00", run.settings.start_time);
    if (read == window_text::malformed) return refuse_date(run, value);
    if (read == window_text::invalid) run.effects.say("invalid start time, ignoring\n");
    return true;
}

bool set_stop_time(option_run& run, const std::string& value) {
    const time_window& start = run.settings.start_time;
    time_window stop;
    const window_text read = read_time_window(value, "23:59:59", stop);
    if (read == window_text::malformed) return refuse_date(run, value);
    if (read == window_text::invalid || (start.valid && stop.filetime < start.filetime)) {
        run.effects.say("invalid stop time, ignoring\n");
    } else {
        run.settings.stop_time = stop;
    }
    return true;
}

bool change_separator(option_run& run, const std::string& value) {
    set_separator(run.settings, value);
    return true;
}

template <bool (*accepts)(std::string_view), auto format>
bool set_format(option_run& run, const std::string& value) {
    if (accepts(value)) {
        run.settings.*format = lower_case(value);
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
    run.settings.mft_file_path = expand_env_path(value);
    run.settings.show_dir_path = true;
    return true;
}

// ---- The options, in the order of their taking -------------------------------------------------------------------

constexpr option general_options[] = {
    flag("-pair_datetime", switch_to<&cmd_params::pair_date_time>),
    valued("-diags", open_log),  // with -l2, -l3

    // Of several styles the last one here wins.
    flag("-csv", change_style<choose_csv>),
    flag("-csvgen", change_style<choose_csvgen>),
    flag("-csvl2t", change_style<choose_csvl2t>),
    flag("-bodyfile", change_style<choose_bodyfile>),
    flag("-xml", change_style<choose_xml>),
    flag("-multiline", change_style<choose_multiline>),

    valued("-out", set_results_path, "-outfile"),  // with -append
    flag("-profile", switch_to<&cmd_params::profile>),
    flag("-pipe", switch_to<&cmd_params::pipe>),
    valued("-signal", store<&cmd_params::signal_name>),
    valued("-hostname", store<&cmd_params::host_name>),
    valued("-username", store<&cmd_params::user_name>),
    idle(valued("-cmd_start_time", set_start_time)),
    idle(valued("-cmd_stop_time", set_stop_time)),
    flag("-base10", switch_to<&cmd_params::hexadecimal, false>),
    flag("-base16", switch_to<&cmd_params::hexadecimal>),
    valued("-csv_separator", change_separator),
    flag("-no_whitespace", change_style<remove_whitespace>),
    valued("-dateformat", set_format<is_date_format, &cmd_params::date_format>),
    valued("-timeformat", set_format<is_time_format, &cmd_params::time_format>),
    idle(flag("-verbose", switch_to<&cmd_params::verbose>, "-v")),
    flag("-quiet", switch_to<&cmd_params::progress, false>),

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
    flag("-pulltimes", switch_to<&usnjrnl_context::pull_times>),
    flag("-a", switch_to<&usnjrnl_context::closed_only, false>),
    flag("-show_dir_path", switch_to<&usnjrnl_context::show_dir_path>),
    valued("-mftfile", set_mft_file),
    flag("-show_offset", switch_to<&usnjrnl_context::show_offset>),
    flag("-include_slack_space", include<&usnjrnl_context::include_slack>),
    flag("-include_unalloc_clusters", include<&usnjrnl_context::include_unalloc>),
    flag("-include_vss_clusters", include<&usnjrnl_context::include_vss>),
    flag("-xml_escape", switch_to<&usnjrnl_context::xml_escape>),
    flag("-rebuild_mft", switch_to<&usnjrnl_context::rebuild_mft>),
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
    if (settings.command_line.empty()) settings.command_line = join_arguments(arguments, '"');
    if (!take_in_order(general_options, run)) return false;

    // Nothing is left to refuse: both patterns are the defaults or were accepted.
    (void)uni::parse_time_formats(settings.time_format_flags, settings.date_format, settings.time_format,
                                  settings.pair_date_time);
    return take_in_order(journal_options, run);
}
