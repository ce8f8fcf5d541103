// output/layout_settings.h: what the user asked of the output: the layout, and how texts, numbers and times stand in
// it. Plain data, set once by the options.
#pragma once

#include "output/record_filter.h"

#include <cstdint>
#include <string>

namespace uni {

// output/layouts.h has a row for each.
enum class layout : std::uint8_t { table, multiline, csvl2t, bodyfile, xml, jsonl };

struct layout_settings {
    layout chosen = layout::table;
    bool named = false;  // by an option

    bool complete = false;  // every sound record is told, and no text can look like another
    bool closed_only = true;
    record_choice choice;
    bool unique = false;     // a record that was found again is written once
    bool show_type = false;  // where a record was found
    bool show_offset = false;
    bool pull_times = false;
    bool path_history = false;  // paths are those that files had, beside those of now
    std::string host_name;
    std::string user_name;

    std::string date_format = "yyyy-mm-dd";
    std::string time_format = "hh:mm:ss.xxx";
    std::uint32_t time_format_flags = 0;
    bool pair_date_time = false;
    bool hexadecimal = true;

    char replaced_character = '|';  // 0: nothing is replaced in texts
    char replacement = ';';
    std::string separator = " | ";
    bool no_whitespace = false;
    bool leading_space = true;
    bool mark_line_breaks = false;
    bool generic_csv = false;  // -csvgen was given: its marks stay under every other layout
    bool xml_escape = false;
};

}  // namespace uni
