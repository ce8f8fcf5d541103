// tests/support/table_settings.h: the settings of a run as the options leave them, and a record to print with them.
#pragma once

#include "app/usnjrnl_context.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"

struct table_settings : usnjrnl_context {
    table_settings() { set_formats(false); }

    table_settings& separated_by(const std::string& text, char from, char to) {
        separator = text;
        replaced_character = from;
        replacement = to;
        return *this;
    }
    table_settings& set_formats(bool paired) {
        pair_date_time = paired;
        (void)uni::parse_time_formats(time_format_flags, date_format, time_format, paired);
        return *this;
    }
    table_settings& with_csv() {
        no_whitespace = !pair_date_time;
        mark_line_breaks = true;
        return separated_by(",", ',', ' ');
    }
    table_settings& with_csvgen() {
        with_csv();
        csv = false;
        csvgen = true;
        return *this;
    }
    table_settings& with_multiline() {
        csv = false;
        multiline = true;
        return separated_by("", '\0', '\0');
    }
    table_settings& with_no_whitespace() {
        no_whitespace = true;
        leading_space = false;
        std::erase(separator, ' ');
        return *this;
    }
};

// 2024-01-02 12:34:56.7891234
inline constexpr std::uint64_t sample_time = 133'486'724'967'891'234;

inline journal_entry sample_entry() {
    journal_entry entry;
    entry.valid = 1;
    entry.file_ref = 0x0003'0000'0000'002A;
    entry.parent_ref = 0x0005'0000'0000'0005;
    entry.usn = 0x1000;
    entry.timestamp = sample_time;
    entry.reason = 0x80000100;
    entry.file_attributes = 0x20;
    entry.name = u"report.docx";
    entry.record_offset = 0x7E00;
    return entry;
}
