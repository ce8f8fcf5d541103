#include "report/page.h"

#include "base/format_text.h"

namespace report {

std::string page_of(const findings& found) {
    html page;
    page.markup("<!DOCTYPE html>\n<html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\">\n<head>\n")
        .markup("<meta charset=\"utf-8\"/>\n")
        .markup(
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
            "'unsafe-inline'\"/>\n")
        .markup("<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n")
        .markup("<title>Change journal, a first look</title>\n<style>")
        .markup(page_style)
        .markup("</style>\n</head>\n<body>\n")
        .markup(print_patterns);
    draw_beginning(found, page);
    draw_facts(found, page);
    draw_when(found, page);
    draw_bursts(found, page);
    draw_where(found, page);
    draw_rows(found, page);
    page.markup("</main>\n</body>\n</html>\n");
    return page.out();
}

std::string_view class_of(change_kind kind) { return kind_names[place_of(kind)]; }

std::string kinds_text(const kind_counts& counts) {
    std::string out;
    for (const change_kind kind : all_kinds) {
        const std::uint64_t records = counts[place_of(kind)];
        if (records == 0) continue;
        if (!out.empty()) out += ", ";
        out.append(class_of(kind)).append(" ").append(grouped(records));
    }
    return out;
}

std::string place_text(double place) {
    std::string out = format_text("%.2f", place);
    out.erase(out.find_last_not_of('0') + 1);
    if (out.ends_with('.')) out.pop_back();
    return out;
}

void draw_mix(const kind_counts& counts, std::uint64_t full, html& page) {
    page.markup(
        "<svg class=\"mix\" viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\" "
        "focusable=\"false\">");
    double at = 0;
    for (const change_kind kind : all_kinds) {
        const std::uint64_t records = counts[place_of(kind)];
        if (records == 0) continue;
        const double width = 100.0 * static_cast<double>(records) / static_cast<double>(full);
        page.markup("<rect class=\"").markup(class_of(kind)).markup("\" x=\"").markup(place_text(at));
        page.markup("\" width=\"").markup(place_text(width)).markup("\" height=\"10\"/>");
        at += width;
    }
    page.markup("</svg>");
}

void begin_table(std::string_view caption, std::span<const column> columns, html& page) {
    page.markup("<div class=\"scroll\"><table><caption>").markup(caption).markup("</caption><thead><tr>");
    for (const column& one : columns) {
        page.markup(one.kind == "n" ? "<th scope=\"col\" class=\"n\">" : "<th scope=\"col\">")
            .markup(one.title)
            .markup("</th>");
    }
    page.markup("</tr></thead><tbody>\n");
}

void draw_cells(std::initializer_list<html> cells, std::span<const column> columns, html& page) {
    page.markup("<tr>");
    const column* at = columns.data();
    for (const html& cell : cells) {
        page.markup("<td");
        if (!at->kind.empty()) page.markup(" class=\"").markup(at->kind).markup("\"");
        page.markup(">") += cell;
        page.markup("</td>");
        ++at;
    }
    page.markup("</tr>\n");
}

void end_table(html& page) { page.markup("</tbody></table></div>\n"); }

void draw_kind(change_kind kind, html& page) {
    page.markup("<svg class=\"swatch\" viewBox=\"0 0 10 10\" aria-hidden=\"true\" focusable=\"false\"><rect class=\"")
        .markup(class_of(kind))
        .markup("\" width=\"10\" height=\"10\"/></svg>")
        .markup(class_of(kind));
}

}  // namespace report
