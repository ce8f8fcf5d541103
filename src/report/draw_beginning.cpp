// What this is: the run, the source, how much there is of what.

#include "report/page.h"

#include <array>

namespace report {
namespace {

std::string_view line_of(std::string_view header, int line) {
    for (; line > 0; --line) {
        const std::size_t end = header.find('\n');
        header.remove_prefix(end == std::string_view::npos ? header.size() : end + 1);
    }
    return header.substr(0, header.find('\n'));
}

void draw_glance(const findings& found, html& page) {
    const auto card = [&](const html& figure, std::string_view what) {
        page.markup("<li><b>") += figure;
        page.markup("</b><span>").markup(what).markup("</span></li>\n");
    };
    const std::uint64_t marked = found.extension_bursts.size() + found.wiping_bursts.size() + found.marked_left_out;
    page.markup("<ul class=\"glance\">\n");
    card(html().number(found.records), "records, each once");
    if (found.times.last != 0) {
        const time_span& span = found.span_is_of_journal ? found.journal_times : found.times;
        card(html().duration(span.last - span.first), found.span_is_of_journal
                                                          ? "from the first to the last time of the journal"
                                                          : "from the first to the last time");
    }
    card(html().number(found.whole.gap_count), "gaps between USNs");
    card(html().number(found.whole.step_count), "steps back of the clock");
    card(html().number(found.bursts.listed.size() + found.bursts.left_out), "bursts");
    card(html().number(marked), "marked patterns of renames");
    page.markup("</ul>\n");
}

void draw_item(std::string_view what, const html& told, html& page) {
    page.markup("<dt>").markup(what).markup("</dt><dd>") += told;
    page.markup("</dd>\n");
}

html records_text(const findings& found) {
    constexpr std::array<std::string_view, 4> origins{" in the journal", " in unallocated clusters",
                                                      " in shadow copies", " in slack"};
    html out;
    std::string_view before;
    for (std::size_t i = 0; i < origins.size(); ++i) {
        if (found.origins[i] == 0) continue;
        out.markup(before).number(found.origins[i]).markup(origins[i]);
        before = ", ";
    }
    if (before.empty()) out.markup("none");
    if (found.again != 0) out.markup("; ").number(found.again).markup(" found again elsewhere, counted once");
    return out;
}

html bound_text(const packed_record& one) {
    html out;
    out.plain_number(one.usn).markup(" at ").time(one.timestamp, 7);
    return out;
}

void draw_items(const findings& found, html& page) {
    const run_facts& run = found.run;
    page.markup("<dl>\n");
    html source;
    source.name(run.source);
    if (run.source_size != 0) source.markup(", ").size(run.source_size);
    draw_item("Source", source, page);
    draw_item("MFT", run.mft.empty() ? html().markup("none") : html().name(run.mft), page);
    draw_item("Records by origin", records_text(found), page);
    draw_item("Records by kind", html().markup(kinds_text(found.by_kind)), page);
    if (found.first_in_usn != nullptr) {
        draw_item("First record by USN", bound_text(*found.first_in_usn), page);
        draw_item("Last record by USN", bound_text(*found.last_in_usn), page);
    }
    if (found.times.last != 0) {
        draw_item("First and last time", html().time(found.times.first, 7).markup(" to ").time(found.times.last, 7),
                  page);
    }
    draw_item("Left out",
              html()
                  .markup(counted(found.unsound, "record"))
                  .markup(" whose fields make no sense; ")
                  .markup(counted(found.without_time, "record"))
                  .markup(" without a time are in no drawing"),
              page);
    draw_item("Lost", html().size(run.lost_bytes).markup(" of the source could not be read"), page);
    draw_item("Program", html().name(line_of(run.run_header, 0)), page);
    draw_item("Run", html().name(line_of(run.run_header, 1), 1000), page);
    draw_item("Command line", html().name(line_of(run.run_header, 2), 2000), page);
    page.markup("</dl>\n");
}

}  // namespace

void draw_beginning(const findings& found, html& page) {
    page.markup("<header>\n<h1>Change journal: ").name(found.run.source).markup("</h1>\n<p class=\"lead\">");
    if (found.times.last != 0) {
        const time_span& span = found.span_is_of_journal ? found.journal_times : found.times;
        page.time(span.first).markup(" to ").time(span.last).markup(". ");
    }
    page.markup("All times are UTC, by the clock of the machine that wrote them.</p>\n");
    page.markup(
        "<nav aria-label=\"Sections\"><ul><li><a href=\"#what\">What this is</a></li>"
        "<li><a href=\"#whole\">Is the journal whole?</a></li><li><a href=\"#when\">When</a></li>"
        "<li><a href=\"#bursts\">Bursts</a></li><li><a href=\"#where\">Where</a></li>"
        "<li><a href=\"#rows\">Records behind it</a></li></ul></nav>\n</header>\n<main>\n");
    page.markup("<section id=\"what\" aria-labelledby=\"what-title\">\n<h2 id=\"what-title\">What this is</h2>\n");
    draw_glance(found, page);
    draw_items(found, page);
    page.markup("<p>Counted are all records that were read, carved ones too, each once.");
    if (!found.run.options_that_do_not_count.empty()) {
        page.markup(" What limits the rows of a table has no effect here: ");
        page.text(found.run.options_that_do_not_count).markup(".");
    }
    page.markup("</p>\n</section>\n");
}

}  // namespace report
