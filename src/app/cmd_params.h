// app/cmd_params.h: the settings shared with the output layer, as the general options leave them. Plain data: the rooms
// below read it, only the option parser writes it.
#pragma once

#include <cstdint>
#include <string>

// A time limit of -cmd_start_time or -cmd_stop_time. Nothing acts on these windows.
struct time_window {
    bool valid = false;
    std::uint64_t filetime = 0;
    std::uint64_t day_count = 0;  // days since 1601-01-01
};

struct cmd_params {
    cmd_params() = default;
    cmd_params(const cmd_params&) = default;
    cmd_params& operator=(const cmd_params&) = default;
    virtual ~cmd_params() = default;

    std::string command_line;
    std::string program_name = "lorq";
    std::string version_text;
    std::string tool_tag;

    std::string results_path;

    std::string date_format = "yyyy-mm-dd";
    std::string time_format = "hh:mm:ss.xxx";
    std::uint32_t time_format_flags = 0;
    bool pair_date_time = false;

    char replaced_character = '|';  // 0: nothing is replaced in texts
    char replacement = ';';
    std::string separator = " | ";
    bool no_whitespace = false;
    bool leading_space = true;
    bool mark_line_breaks = false;
    bool hexadecimal = true;
    bool write_header = true;

    // The style that was chosen; -csvgen is a mark of its own that no other style clears.
    bool xml = false;
    bool csv = true;
    bool csvl2t = false;
    bool csvgen = false;
    bool bodyfile = false;
    bool multiline = false;

    bool progress = true;
    bool verbose = false;
    bool profile = false;
    bool pipe = false;
    std::string signal_name;
    std::string host_name;
    std::string user_name;

    std::string log_path;  // empty: the diagnostic log is off
    std::uint32_t log_level = 0;

    time_window start_time;
    time_window stop_time;
};
