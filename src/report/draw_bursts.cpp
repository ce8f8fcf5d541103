// Bursts: minutes that stand out, and two patterns of renames with the rule beside them.

#include "report/burst_stories.h"
#include "report/page.h"

#include <algorithm>

namespace report {
namespace {

constexpr std::string_view in_order_of_time = "In order of time";

void draw_medians(const found_bursts& bursts, html& page) {
    std::string_view before = " Medians of the minutes that have any: ";
    for (const change_kind kind : all_kinds) {
        if (bursts.medians[place_of(kind)] == 0) continue;
        page.markup(before).markup(class_of(kind)).markup(" ").decimal(bursts.medians[place_of(kind)]);
        before = ", ";
    }
    if (before == ", ") page.markup(".");
}

void draw_directory(const burst_story& story, html& page) {
    constexpr std::uint64_t most = burst_stories::most_directories;
    if (story.directory.empty()) {
        page.markup("<span class=\"soft\">none, they lie in ");
    } else {
        page.name(story.directory).markup("<br/><span class=\"soft\">in ");
    }
    if (story.directories > most) page.markup("more than ");
    page.markup(counted(std::min(story.directories, most), "directory", "directories")).markup("</span>");
    if (story.directories < 2) return;
    page.markup("<br/><span class=\"soft\">").number(story.most).markup(" in </span>").name(story.directory_of_most);
}

void draw_extensions(const burst_story& story, html& page) {
    std::string_view before;
    for (const auto& [extension, records] : story.extensions) {
        page.markup(before).name(extension, 40).markup(" ").number(records);
        before = ", ";
    }
    if (story.other_extensions != 0) page.markup(", other ").number(story.other_extensions);
}

html link_to_rows(std::string_view id, std::size_t number) {
    html link;
    link.markup("<a href=\"#").markup(id).number(number).markup("\">").number(number).markup("</a>");
    return link;
}

void draw_minutes(const findings& found, html& page) {
    page.markup("<div class=\"scroll\"><table class=\"stack\" id=\"minutes\"><caption>").markup(in_order_of_time);
    if (found.bursts.left_out != 0) {
        page.markup(", those with the most records; ")
            .markup(counted(found.bursts.left_out, "burst"))
            .markup(" left out");
    }
    page.markup(
        "</caption><thead><tr><th scope=\"col\">From</th><th scope=\"col\">For</th><th scope=\"col\">Kind</th>"
        "<th scope=\"col\" class=\"n\">Records</th><th scope=\"col\">Directory they share</th>"
        "<th scope=\"col\">Extensions</th><th scope=\"col\">Rows</th></tr></thead><tbody>\n");
    for (std::size_t i = 0; i < found.stories.size(); ++i) {
        const burst_story& story = found.stories[i];
        page.markup("<tr><td class=\"t\">")
            .markup(time_text(story.of.begin, 0).substr(0, 16))
            .markup("</td><td class=\"t\">");
        page.duration(story.of.end - story.of.begin).markup("</td><td class=\"t\">");
        draw_kind(story.of.kind, page);
        page.markup("</td><td class=\"n\" data-label=\"records\">")
            .number(story.of.records)
            .markup("</td><td class=\"name\">");
        draw_directory(story, page);
        page.markup("</td><td>");
        draw_extensions(story, page);
        page.markup("</td><td data-label=\"rows\">") += link_to_rows("r-burst-", i + 1);
        page.markup("</td></tr>\n");
    }
    page.markup("</tbody></table></div>\n");
}

void begin_pattern(std::string_view id, std::string_view title, std::size_t count, std::string_view rule, html& page) {
    page.markup("<article class=\"fact\" id=\"").markup(id).markup("\">\n<h3>").markup(title).markup("<br/>");
    page.markup(count == 0 ? "<span class=\"tag\">none found</span></h3>\n"
                           : "<span class=\"tag some\">found</span></h3>\n");
    page.markup("<p class=\"fig\">")
        .markup(count == 0 ? "none" : counted(count, "time"))
        .markup("</p>\n<p>")
        .markup(rule)
        .markup("</p>\n");
}

void draw_extension_bursts(const findings& found, html& page) {
    begin_pattern(
        "one-extension", "Many files renamed to one extension", found.extension_bursts.size(),
        "The rule: within 60 seconds at least 100 files get one extension, having had at least 8 others, in at "
        "least 3 directories. Programs that encrypt files do that; so can a conversion or a tool that renames.",
        page);
    if (!found.extension_bursts.empty()) {
        constexpr column columns[] = {
            {"From"},    {"To"}, {"Extension", ""}, {"Files", "n"}, {"Extensions before", "n"}, {"Directories", "n"},
            {"Rows", ""}};
        begin_table(in_order_of_time, columns, page);
        std::size_t number = 0;
        for (const extension_burst& one : found.extension_bursts) {
            draw_cells({html().time(one.begin, 3), html().time(one.end, 3), html().name("." + one.extension, 60),
                        html().number(one.files), html().number(one.extensions), html().number(one.directories),
                        link_to_rows("r-extension-", ++number)},
                       columns, page);
        }
        end_table(page);
    }
    page.markup("</article>\n");
}

void draw_wiping_bursts(const findings& found, html& page) {
    begin_pattern(
        "wiped", "Files renamed again and again, then deleted", found.wiping_bursts.size(),
        "The rule: within 60 seconds a file is renamed five times or more to names of one length and then deleted; "
        "files that follow within 60 seconds count with it. Programs that wipe files do that; so can a program "
        "that moves its temporary files.",
        page);
    if (!found.wiping_bursts.empty()) {
        constexpr column columns[] = {{"From"}, {"To"}, {"Files", "n"}, {"Renames", "n"}, {"Rows", ""}};
        begin_table(in_order_of_time, columns, page);
        std::size_t number = 0;
        for (const wiping_burst& one : found.wiping_bursts) {
            draw_cells({html().time(one.begin, 3), html().time(one.end, 3), html().number(one.files),
                        html().number(one.renames), link_to_rows("r-wiping-", ++number)},
                       columns, page);
        }
        end_table(page);
    }
    page.markup("</article>\n");
}

}  // namespace

void draw_bursts(const findings& found, html& page) {
    page.markup("<section id=\"bursts\" aria-labelledby=\"bursts-title\">\n<h2 id=\"bursts-title\">Bursts</h2>\n");
    page.markup("<p>")
        .markup(counted(found.stories.size() + found.bursts.left_out, "burst"))
        .markup(": minutes (UTC) in ");
    page.markup("which a kind has at least ").number(burst::fewest).markup(" records and ").number(burst::times_median);
    page.markup(" times the median of the minutes that have any of it; neighbours are one.");
    draw_medians(found.bursts, page);
    if (found.bursts.minutes_left_out) page.markup(" There are too many minutes: those met last are not looked at.");
    page.markup("</p>\n");
    if (!found.stories.empty()) draw_minutes(found, page);
    draw_extension_bursts(found, page);
    draw_wiping_bursts(found, page);
    if (found.marked_left_out != 0) {
        page.markup("<p>")
            .markup(counted(found.marked_left_out, "more time", "more times"))
            .markup(", not listed.</p>\n");
    }
    if (found.renames_cut) {
        page.markup(
            "<p>Some 60 seconds have more renames than are looked at together: of those only the last count.</p>\n");
    }
    page.markup("</section>\n");
}

}  // namespace report
