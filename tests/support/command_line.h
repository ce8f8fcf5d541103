// tests/support/command_line.h: settings as the program's own options leave them, a record, and what a run with such
// settings writes of it.
#pragma once

#include "app/options.h"
#include "base/diagnostic_log.h"
#include "journal/journal_entry.h"
#include "output/body_writer.h"
#include "output/csv_writer.h"
#include "output/json_writer.h"
#include "output/l2t_writer.h"
#include "output/status_line.h"
#include "output/xml_writer.h"

#include <algorithm>
#include <sstream>

// A command line in one text: split at blanks, "~" stands for a blank inside an argument.
inline argument_list words(const std::string& line) {
    argument_list list;
    std::istringstream in(line);
    for (std::string word; std::getline(in, word, ' '); list.push_back(word)) std::ranges::replace(word, '~', ' ');
    return list;
}

struct parsed_options {
    // `line` follows the program path.
    explicit parsed_options(argument_list line) : left(std::move(line)) {
        left.insert(left.begin(), "lorq");
        uni::status_line status([this](std::string_view text) { said += text; });
        succeeded = parse_options(left, settings, status, log);
        left.erase(left.begin());
    }

    bool succeeded = false;
    argument_list left;
    usnjrnl_context settings;
    diagnostic_log log;
    std::string said;
};

// At 2024-01-02 12:34:56.7891234.
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
    entry.version = 2;
    return entry;
}

// The text of the records, behind the header of those layouts that have one.
inline std::string written(const std::string& options, const std::vector<journal_entry>& entries = {sample_entry()}) {
    const usnjrnl_context settings = parsed_options(words(options)).settings;
    uni::text_buffer text;
    const auto write = [&](auto writer) {
        writer.write_header(text);
        for (const journal_entry& entry : entries) (void)writer.write_record(entry, text);
        return std::string(text.view());
    };
    const bool with_paths = settings.reading.show_dir_path;
    switch (settings.layout.chosen) {
        case uni::layout::xml: return write(uni::xml_writer(settings.layout, with_paths));
        case uni::layout::csvl2t: return write(uni::l2t_writer(settings.layout, with_paths));
        case uni::layout::bodyfile: return write(uni::body_writer(settings.layout, with_paths));
        case uni::layout::jsonl: return write(uni::json_writer(settings.layout, with_paths, "j"));
        default: return write(uni::csv_writer(settings.layout, with_paths));
    }
}

// The same of one record without the header.
inline std::string written_line(const std::string& options, const journal_entry& entry) {
    const std::string text = written(options, {entry});
    return text.substr(text.find('\n') + 1);
}
