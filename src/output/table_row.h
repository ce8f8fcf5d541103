// output/table_row.h: one line of a table before it is text: typed cells in the order of the columns. A row is made
// once for a run and filled anew for every record. It owns no text: what a setter is given stays with the caller until
// the row is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace uni {

enum class cell_kind : std::uint16_t {
    none = 0,  // nothing of its own: most column descriptors, the second half of a split time
    short_number = 2,
    number = 8,
    text = 9,
    split_time = 10,   // a FILETIME, date and time in two cells
    paired_time = 11,  // a FILETIME, date and time in one cell
    time_column = 22,  // descriptor only: its name follows the leading space
};

// token: one of our own words, ASCII without anything to replace or mark. utf8 and utf16: from evidence or the user.
enum class text_kind : std::uint8_t { token, utf8, utf16 };

struct table_column {
    std::string name;
    std::size_t width = 0;  // characters; 0: not padded
    cell_kind kind = cell_kind::none;
};

struct table_cell {
    cell_kind kind = cell_kind::none;
    text_kind content = text_kind::token;  // of kind text
    std::uint64_t number = 0;
    bool plain = true;  // of kind utf16: what `text` is
    std::string_view text;
    std::u16string_view wide_text;  // behind `text`
};

// The setters return the number of cells used: 1, 2 for a split time, 0 for an index outside the row (nothing is set
// then).
class table_row {
public:
    table_row() = default;
    explicit table_row(std::size_t count) { resize(count); }

    // 1 to 255 empty cells. Any other count leaves the row not ready; such a row prints nothing.
    void resize(std::size_t count) {
        cells_.clear();
        if (count <= 255) cells_.resize(count);
    }
    [[nodiscard]] bool ready() const { return !cells_.empty(); }
    [[nodiscard]] const std::vector<table_cell>& cells() const { return cells_; }

    std::size_t set_token(std::size_t index, std::string_view text) {
        if (index >= cells_.size()) return 0;
        cells_[index].kind = cell_kind::text;
        cells_[index].content = text_kind::token;
        cells_[index].text = text;
        return 1;
    }

    std::size_t set_text(std::size_t index, std::string_view text) {
        if (set_token(index, text) == 0) return 0;
        cells_[index].content = text_kind::utf8;
        return 1;
    }

    // Becomes UTF-8 in the line, behind `before`, which is that already. `plain`: of `before` nothing has to be
    // replaced or marked and every character is one byte.
    std::size_t set_wide_text(std::size_t index, std::u16string_view text, std::string_view before = {},
                              bool plain = true) {
        if (index >= cells_.size()) return 0;
        cells_[index].text = before;
        cells_[index].plain = plain;
        cells_[index].kind = cell_kind::text;
        cells_[index].content = text_kind::utf16;
        cells_[index].wide_text = text;
        return 1;
    }

    std::size_t set_value(std::size_t index, std::uint64_t number, cell_kind kind) {
        const std::size_t used = kind == cell_kind::split_time ? 2 : 1;
        if (cells_.size() < used || index > cells_.size() - used) return 0;
        cells_[index].kind = kind;
        cells_[index].number = number;
        if (used == 2) cells_[index + 1].kind = cell_kind::none;
        return used;
    }

private:
    std::vector<table_cell> cells_;
};

}  // namespace uni
