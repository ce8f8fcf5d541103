// output/csv_writer.h: the table: padded by default, -csv, -csvgen, -multiline, any separator. One header line, then
// one line per record. Made by the dispatch for one run; it keeps the column list and whatever saves work from record
// to record.
#pragma once

#include "journal/account.h"
#include "journal/journal_entry.h"
#include "output/date_time.h"
#include "output/layout_settings.h"
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

enum class column_kind : std::uint8_t { plain, short_number, time };

struct table_column {
    std::string name;
    std::size_t width = 0;  // characters; 0: not padded
    column_kind kind = column_kind::plain;
    std::string lead;                   // what stands in front of its cell: a separator, or the name
    std::array<char, 16> short_lead{};  // its beginning
    std::size_t digits = 0;             // of a hexadecimal number
};

class csv_writer {
public:
    // The settings outlive the writer. `with_paths`: where files were is known and has its columns.
    csv_writer(const layout_settings& settings, bool with_paths);

    // Under -multiline the names stand in front of the cells, and there is no header.
    void write_header(text_buffer& out);

    // Appends the record's line: none for a record without the close flag (unless all are asked for), none for one
    // without a valid time.
    [[nodiscard]] record_fate write_record(const journal_entry& entry, text_buffer& out);

private:
    void make_column_list();
    void add_column(std::string_view name, std::size_t width, column_kind kind = column_kind::plain);
    void add_time_columns(std::string_view paired_name, std::string_view date_name);
    void set_multiline_widths();
    void set_leads();

    // Each puts one cell, or several, of the columns from `column` on at `to`; the result is the place behind them.
    [[nodiscard]] char* put_cells(const journal_entry& entry, text_buffer& out);
    [[nodiscard]] char* put_path_cells(const journal_entry& entry, text_buffer& out, char* to,
                                       const table_column*& column);
    [[nodiscard]] char* put_number(char* to, std::uint64_t value, const table_column& column) const;
    [[nodiscard]] char* put_time(char* to, std::uint64_t filetime, const table_column*& column);
    [[nodiscard]] char* put_split_time(char* to, bool valid, const table_column*& column);
    [[nodiscard]] char* put_paired_time(char* to, bool valid, const table_column& column);
    [[nodiscard]] char* put_token(text_buffer& out, char* to, std::string_view text, const table_column& column);
    [[nodiscard]] char* put_user_text(text_buffer& out, char* to, std::string_view text, const table_column& column);
    [[nodiscard]] char* put_name_and_path(text_buffer& out, char* to, std::string_view path, bool plain,
                                          std::u16string_view name, const table_column& column);

    [[nodiscard]] char* put_evidence(text_buffer& out, char* to, std::string_view text, std::size_t width);
    [[nodiscard]] bool put_name(const text_buffer& out, char* to, std::u16string_view name);
    [[nodiscard]] bool is_plain_path(std::string_view path, std::uint32_t number, std::vector<std::uint8_t>& looked_at);
    [[nodiscard]] std::string_view table_text_of(std::string_view text);
    [[nodiscard]] std::string_view own_words(std::string_view text);

    const layout_settings& settings_;
    std::optional<text_guard> guard_;  // of -complete
    bool with_paths_;
    bool multiline_;
    bool padding_;
    std::string_view blank_;  // stands for a date or a time that is not valid
    std::string_view line_end_;
    std::size_t time_columns_;  // 1: date and time in one
    std::vector<table_column> column_list_;
    std::size_t name_width_ = 0;  // of -multiline
    std::size_t fixed_room_ = 0;  // enough for a line without its texts
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
