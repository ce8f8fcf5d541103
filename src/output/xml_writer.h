// output/xml_writer.h: -xml, one `data_entry` element per record, one line per field. The frame around the records is
// xml_document's. Made by the dispatch for one run.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"
#include "output/layout_settings.h"
#include "output/text_buffer.h"
#include "output/token_cache.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace uni {

class xml_writer {
public:
    // The settings outlive the writer. `with_paths`: where files were is known and is told.
    xml_writer(const layout_settings& settings, bool with_paths);

    void write_header(text_buffer& /*out*/) {}

    // Appends the record's element: none for a record without the close flag (unless all are asked for), one marked as
    // corrupted and without values for one whose time is not in 1990 to 2100. With -complete every element has its
    // values, one of version 4 without time, name and attributes, which it does not have.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

private:
    char* put_name(text_buffer& out, char* to, std::u16string_view name);
    char* put_path_fields(text_buffer& out, char* to, const journal_entry& entry);
    char* put_number(char* to, std::uint64_t value, std::size_t digits) const;
    char* put_opening(char* to, const journal_entry& entry) const;
    [[nodiscard]] std::string_view path_of(const journal_entry& entry, std::string_view directory);
    [[nodiscard]] std::string_view escaped(const std::string& text);

    const layout_settings& settings_;
    bool with_paths_;
    time_formatter times_;
    time_formatter pulled_times_;  // of its own, so that the records' times stay in order for the other
    token_cache reasons_;
    token_cache attributes_;
    std::u16string wide_name_;
    std::string text_;
    std::string escaped_;
};

}  // namespace uni
