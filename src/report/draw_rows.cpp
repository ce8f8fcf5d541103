// Records behind it: of each fact and each burst up to 30 records, as rows.

#include "report/page.h"

#include "base/file_reference.h"
#include "journal/usn_text.h"

namespace report {
namespace {

// What the page may come to before rows are left out. Behind it there is room for the longest table and the end.
constexpr std::size_t most_bytes = 1'850'000;

void draw_row(const shown_record& one, std::string& reasons, html& page) {
    reason_tokens(one.reason, reasons);
    page.markup("<tr><td class=\"t\">").time(one.time, 7).markup("</td><td class=\"n\" data-label=\"USN\">");
    page.plain_number(one.usn).markup("</td><td class=\"t\" data-label=\"file\">");
    page.markup(reference_text(one.file_ref)).markup("</td><td class=\"name\">").name(one.name);
    if (!one.folder.empty()) page.markup(" <span class=\"soft\">in ").name(one.folder).markup("</span>");
    page.markup("</td><td class=\"r\">").text(reasons);
    if (!one.origin.empty()) page.markup(" <span class=\"soft\">from ").name(one.origin).markup("</span>");
    page.markup("</td></tr>\n");
}

void draw_table(const titled_rows& rows, const findings& found, html& page) {
    page.markup("<h3 id=\"").markup(rows.id).markup("\">").markup(rows.title).markup("</h3>\n<div class=\"scroll\">");
    page.markup("<table class=\"stack\"><caption>");
    page.markup(rows.of > rows.arrivals.size()
                    ? "The first " + grouped(rows.arrivals.size()) + " of " + grouped(rows.of)
                    : counted(rows.arrivals.size(), "record"));
    page.markup(
        "</caption><thead><tr><th scope=\"col\">Time</th><th scope=\"col\" class=\"n\">USN</th><th scope=\"col\">File"
        "</th><th scope=\"col\">Name</th><th scope=\"col\">Reasons</th></tr></thead><tbody>\n");
    std::string reasons;
    std::size_t drawn = 0;
    for (; drawn < rows.arrivals.size() && page.out().size() < most_bytes; ++drawn) {
        if (const shown_record* const row = found.row_of(rows.arrivals[drawn]); row != nullptr)
            draw_row(*row, reasons, page);
    }
    page.markup("</tbody></table></div>\n");
    if (drawn < rows.arrivals.size()) {
        page.markup("<p>")
            .markup(counted(rows.arrivals.size() - drawn, "row"))
            .markup(" left out, so that the page stays under 2 MB.</p>\n");
    }
}

void add_neighbours(const std::vector<neighbours>& from, std::vector<std::uint64_t>& to) {
    for (const neighbours& one : from) {
        if (to.size() + 2 > most_listed) return;
        if (to.empty() || to.back() != one.before->arrival()) to.push_back(one.before->arrival());
        to.push_back(one.behind->arrival());
    }
}

}  // namespace

std::vector<titled_rows> rows_behind(const findings& found) {
    std::vector<titled_rows> out;
    const auto add = [&](std::string id, std::string title, std::vector<std::uint64_t> arrivals, std::uint64_t of) {
        if (!arrivals.empty()) out.push_back({std::move(id), std::move(title), std::move(arrivals), of});
    };
    std::vector<std::uint64_t> around;
    add_neighbours(found.whole.gaps, around);
    add("r-gaps", "Before and behind the gaps between USNs", std::exchange(around, {}), 2 * found.whole.gap_count);
    add_neighbours(found.whole.steps_back, around);
    add("r-clock", "Before and behind the steps back of the clock", std::exchange(around, {}),
        2 * found.whole.step_count);
    for (const packed_record* one : found.whole.outside) around.push_back(one->arrival());
    add("r-carved", "Carved records from elsewhere", std::exchange(around, {}),
        found.whole.carved_behind + found.whole.carved_far_under);
    for (const other_creation& one : found.mft.others) around.push_back(one.record->arrival());
    add("r-creations", "Files whose times of creation differ", std::exchange(around, {}), found.mft.other_count);
    const auto numbered = [](std::string_view what, std::size_t place) {
        return std::string(what) + std::to_string(place + 1);
    };
    for (std::size_t i = 0; i < found.stories.size(); ++i) {
        const burst& of = found.stories[i].of;
        add(numbered("r-burst-", i),
            numbered("Burst ", i) + ": " + std::string(class_of(of.kind)) + ", " + time_text(of.begin, 0).substr(0, 16),
            found.stories[i].arrivals, of.records);
    }
    for (std::size_t i = 0; i < found.extension_bursts.size(); ++i) {
        const extension_burst& one = found.extension_bursts[i];
        add(numbered("r-extension-", i), numbered("Renamed to one extension, ", i), one.arrivals, one.files);
    }
    for (std::size_t i = 0; i < found.wiping_bursts.size(); ++i) {
        const wiping_burst& one = found.wiping_bursts[i];
        add(numbered("r-wiping-", i), numbered("Renamed and deleted, ", i), one.arrivals, 2 * one.files);
    }
    return out;
}

void draw_rows(const findings& found, html& page) {
    page.markup("<section id=\"rows\" aria-labelledby=\"rows-title\">\n<h2 id=\"rows-title\">Records behind it</h2>\n");
    const std::vector<titled_rows> tables = rows_behind(found);
    page.markup(tables.empty()
                    ? "<p>There are none.</p>\n"
                    : "<p>Of each fact and each burst up to 30 records; a name of more than 300 characters is cut "
                      "in its middle.</p>\n");
    for (const titled_rows& one : tables) draw_table(one, found, page);
    page.markup("</section>\n");
}

}  // namespace report
