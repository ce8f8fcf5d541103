// tests/support/table_settings.h: the settings of a run as the options leave them, and a record to print with them.
#pragma once

#include "app/usnjrnl_context.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"

struct table_settings : usnjrnl_context {
    table_settings() { set_formats(false); }

    table_settings& with(bool usnjrnl_context::*flag, bool value = true) { return this->*flag = value, *this; }
    table_settings& separated_by(const std::string& text, char from, char to) {
        separator = text;
        replaced_character = from;
        return replacement = to, *this;
    }
    table_settings& set_formats(bool paired) {
        pair_date_time = paired;
        return (void)uni::parse_time_formats(time_format_flags, date_format, time_format, paired), *this;
    }
    table_settings& with_csv() {
        no_whitespace = !pair_date_time;
        mark_line_breaks = true;
        return separated_by(",", ',', ' ');
    }
    table_settings& with_csvgen() { return with_csv().with(&table_settings::csv, false).with(&table_settings::csvgen); }
    table_settings& with_multiline() {
        return separated_by("", '\0', '\0').with(&table_settings::csv, false).with(&table_settings::multiline);
    }
    table_settings& with_no_whitespace() {
        std::erase(separator, ' ');
        return with(&table_settings::no_whitespace).with(&table_settings::leading_space, false);
    }
};

// 2024-01-02 12:34:56.7891234
inline constexpr std::uint64_t sample_time = 133'486'724'967'891'234;

inline journal_entry sample_entry(std::uint32_t reason = 0x80000100, std::uint64_t timestamp = sample_time) {
    journal_entry entry;
    entry.valid = 1;
    entry.file_ref = 0x0003'0000'0000'002A;
    entry.parent_ref = 0x0005'0000'0000'0005;
    entry.usn = 0x1000;
    entry.timestamp = timestamp;
    entry.reason = reason;
    entry.file_attributes = 0x20;
    entry.name = u"report.docx";
    entry.record_offset = 0x7E00;
    return entry;
}
