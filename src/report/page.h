// report/page.h: the page: what was found, drawn. Each section is a function of its own in a file of its own.
#pragma once

#include "report/findings.h"
#include "report/html_text.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace report {

// HTML 5 that is well-formed XML too, without scripts, and under 2 MB.
[[nodiscard]] std::string page_of(const findings& found);

// ---- Sections, from the top ----

void draw_beginning(const findings& found, html& page);  // up to what this is
void draw_facts(const findings& found, html& page);      // is the journal whole?
void draw_when(const findings& found, html& page);
void draw_bursts(const findings& found, html& page);
void draw_where(const findings& found, html& page);
void draw_rows(const findings& found, html& page);

// ---- Pieces that sections share ----

extern const std::string_view page_style;      // of the style element
extern const std::string_view print_patterns;  // of fills, by kind

// The class of a kind's colour and pattern.
[[nodiscard]] std::string_view class_of(change_kind kind);

// "deleted 3, data 1,200" with what is not 0, as plain text.
[[nodiscard]] std::string kinds_text(const kind_counts& counts);

// Bars by kind from left to right in a field of 100 by 10; `full`: the records that fill it.
void draw_mix(const kind_counts& counts, std::uint64_t full, html& page);

// The name of a kind behind its swatch.
void draw_kind(change_kind kind, html& page);

// A table, row by row, with as many cells as it has columns.
struct column {
    std::string_view title;
    std::string_view kind = "t";  // class of its cells: "n" numbers, "t" what stays on one line, empty for texts
};
void begin_table(std::string_view caption, std::span<const column> columns, html& page);
void draw_cells(std::initializer_list<html> cells, std::span<const column> columns, html& page);
void end_table(html& page);

// A number with so many digits as the page needs, for places in drawings.
[[nodiscard]] std::string place_text(double place);

// ---- Of the facts and of the rows behind them ----

struct titled_rows {
    std::string id;     // in the page's addresses
    std::string title;  // plain
    std::vector<std::uint64_t> arrivals;
    std::uint64_t of = 0;  // how many there are of what is shown; 0: these are all
};
[[nodiscard]] std::vector<titled_rows> rows_behind(const findings& found);

}  // namespace report
