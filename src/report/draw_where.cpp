// Where: the directories, extensions and files with the most records.

#include "report/page.h"

namespace report {
namespace {

void draw_counts(const kind_counts& counts, html& page) {
    for (const change_kind kind : all_kinds) {
        const std::uint64_t records = counts[place_of(kind)];
        page.markup(records == 0 ? "<td class=\"n zero\">" : "<td class=\"n\" data-label=\"");
        if (records != 0) page.markup(class_of(kind)).markup("\">");
        page.number(records).markup("</td>");
    }
}

void draw_ranked(std::string_view id, std::string_view title, std::string_view what, std::string_view of,
                 const ranked_things& things, html& page) {
    page.markup("<h3>")
        .markup(title)
        .markup("</h3>\n<div class=\"scroll\"><table class=\"stack\" id=\"")
        .markup(id)
        .markup("\"><caption>");
    page.number(things.listed.size()).markup(" of ").number(things.distinct).markup(" ").markup(of);
    if (things.not_counted != 0) {
        page.markup("; there are more, ")
            .markup(counted(things.not_counted, "record"))
            .markup(" of which are not counted here");
    }
    page.markup("</caption><thead><tr><th scope=\"col\">")
        .markup(what)
        .markup("</th><th scope=\"col\" class=\"n\">Records</th>");
    for (const change_kind kind : all_kinds) {
        page.markup("<th scope=\"col\" class=\"n\">");
        draw_kind(kind, page);
        page.markup("</th>");
    }
    page.markup("<th scope=\"col\" class=\"w\">Share of the first</th></tr></thead><tbody>\n");
    const std::uint64_t full =
        things.listed.empty() ? 1 : std::max<std::uint64_t>(sum_of(things.listed.front().counts), 1);
    for (const ranked& one : things.listed) {
        page.markup("<tr><th scope=\"row\" class=\"name\">")
            .name(one.text)
            .markup("</th><td class=\"n\" data-label=\"records\">");
        page.number(sum_of(one.counts)).markup("</td>");
        draw_counts(one.counts, page);
        page.markup("<td class=\"w\">");
        draw_mix(one.counts, full, page);
        page.markup("</td></tr>\n");
    }
    page.markup("</tbody></table></div>\n");
}

}  // namespace

void draw_where(const findings& found, html& page) {
    page.markup("<section id=\"where\" aria-labelledby=\"where-title\">\n<h2 id=\"where-title\">Where</h2>\n<p>");
    page.markup(found.run.past_paths ? "Directories stand under the paths that they had when the records were written. "
                : found.has_paths
                    ? "Paths are those of now, by the MFT. "
                    : "Paths are not known in this run: of a directory the name is told when the journal has "
                      "a record of it, and its entry and sequence number. ");
    page.markup("What is shown of a file is its last record.</p>\n");
    draw_ranked("directories", "Directories", "Directory", "directories", found.directories, page);
    draw_ranked("extensions", "Extensions", "Extension", "extensions, of records that are not of directories",
                found.extensions, page);
    draw_ranked("files", "Files", "File", "files and directories", found.files, page);
    page.markup("</section>\n");
}

}  // namespace report
