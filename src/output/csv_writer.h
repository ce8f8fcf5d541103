// output/csv_writer.h: the table: padded by default, -csv, -csvgen, -multiline, any separator. One header line, then
// one line per record. Made by the dispatch for one run; it keeps the column list and whatever saves work from record
// to record.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"
#include "output/layout_settings.h"
#include "output/table_row.h"
#include "output/text_buffer.h"
#include "output/text_guard.h"
#include "output/token_cache.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace uni {

class csv_writer {
public:
    // The settings outlive the writer. `with_paths`: where files were is known and has its columns.
    csv_writer(const layout_settings& settings, bool with_paths);

    // Under -multiline the names stand in front of the cells, and there is no header.
    void write_header(text_buffer& out);

    // Appends the record's line: none for a record without the close flag (unless all are asked for), none for one
    // without a valid time.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

    void write_row(const table_row& row, text_buffer& out);

private:
    void make_column_list();
    void add_column(std::string_view name, std::size_t width, cell_kind kind = cell_kind::none);
    void add_time_columns(std::string_view paired_name, std::string_view date_name);
    void set_multiline_widths();

    void fill_row(const journal_entry& entry);
    std::size_t fill_path_cells(const journal_entry& entry, std::size_t at);
    std::size_t fill_history_cells(const journal_entry& entry, std::size_t at);
    [[nodiscard]] bool is_plain_path(std::string_view path, std::uint32_t number, std::vector<std::uint8_t>& looked_at);

    char* put_separator(char* to) const;
    char* put_cell(text_buffer& out, char* to, const table_cell& cell, std::size_t index);
    char* put_text_cell(text_buffer& out, char* to, const table_cell& cell, std::size_t width);
    char* put_name_and_path(text_buffer& out, char* to, const table_cell& cell, std::size_t width);
    bool put_name(const text_buffer& out, char* to, std::u16string_view name);
    [[nodiscard]] std::string_view table_text_of(std::string_view text);
    [[nodiscard]] std::string_view own_words(std::string_view text);
    char* put_number(char* to, const table_cell& cell, std::size_t width) const;
    char* put_split_time(char* to, std::uint64_t filetime, std::size_t index);
    char* put_paired_time(char* to, std::uint64_t filetime, std::size_t width);

    const layout_settings& settings_;
    std::optional<text_guard> guard_;  // of -complete
    bool with_paths_;
    bool multiline_;
    bool padding_;
    std::string_view blank_;  // stands for a date or a time that is not valid
    std::size_t separator_length_;
    std::array<char, 16> short_separator_{};  // its beginning
    cell_kind time_kind_;
    std::vector<table_column> column_list_;
    std::size_t name_width_ = 0;  // of -multiline
    std::size_t fixed_room_ = 0;  // enough for a line without its texts
    table_row row_;
    time_formatter times_;
    token_cache reasons_;
    token_cache attributes_;
    std::string name_;
    std::u16string_view put_name_;           // the latest plain name of the line
    std::size_t put_name_place_ = 0;         // in the buffer
    std::vector<std::uint8_t> plain_paths_;  // by path number: what is known of it
    std::vector<std::uint8_t> plain_paths_now_;
    std::string scratch_;
};

}  // namespace uni
