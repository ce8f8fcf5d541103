// When: bars of records by kind over the span of the journal, and hours by days.

#include "report/page.h"

#include <algorithm>
#include <cmath>

namespace report {
namespace {

constexpr double chart_width = 1200;
constexpr double chart_height = 240;

std::uint64_t highest_of(const bar_chart& bars) {
    std::uint64_t highest = 0;
    for (const kind_counts& one : bars.bars()) highest = std::max(highest, sum_of(one));
    return highest;
}

// From 0.15 to 1: a few records are seen beside very many.
double shade_of(std::uint64_t records, std::uint64_t most) {
    constexpr double least = 0.15;
    if (most <= 1) return 1;
    return least + (1 - least) * std::log(static_cast<double>(records)) / std::log(static_cast<double>(most));
}

void draw_rect(std::string_view classes, double x, double y, double width, double height, html& page) {
    page.markup("<rect class=\"")
        .markup(classes)
        .markup("\" x=\"")
        .markup(place_text(x))
        .markup("\" y=\"")
        .markup(place_text(y));
    page.markup("\" width=\"").markup(place_text(width)).markup("\" height=\"").markup(place_text(height)).markup("\"");
}

std::string bar_title(const bar_chart& bars, std::size_t at) {
    const std::uint64_t begin = bars.begin_of(at);
    const kind_counts& counts = bars.bars()[at];
    return time_text(begin, 0) + ", " + duration_text(bars.width()) + ": " + counted(sum_of(counts), "record") + ": " +
           kinds_text(counts);
}

void draw_bar(const bar_chart& bars, std::size_t at, std::uint64_t highest, html& page) {
    const kind_counts& counts = bars.bars()[at];
    if (sum_of(counts) == 0) return;
    const double step = chart_width / static_cast<double>(bars.bars().size());
    const double x = step * static_cast<double>(at);
    page.markup("<g><title>").markup(bar_title(bars, at)).markup("</title>");
    double y = chart_height;
    for (const change_kind kind : all_kinds) {
        const std::uint64_t records = counts[place_of(kind)];
        if (records == 0) continue;
        const double height = chart_height * static_cast<double>(records) / static_cast<double>(highest);
        y -= height;
        draw_rect(class_of(kind), x, y, step * 0.92, height, page);
        page.markup("/>");
    }
    draw_rect("over", x, 0, step, chart_height, page);
    page.markup("/></g>\n");
}

void draw_bars(const findings& found, html& page) {
    const bar_chart& bars = found.bars;
    const std::uint64_t highest = highest_of(bars);
    page.markup("<div class=\"chart\"><div class=\"labels\"><span>").number(highest).markup("</span><span>");
    page.number(highest / 2)
        .markup(
            "</span><span>0</span></div>\n<svg class=\"bars\" viewBox=\"0 0 1200 240\" "
            "preserveAspectRatio=\"none\" role=\"img\" aria-labelledby=\"bars-title\">");
    page.markup("<title id=\"bars-title\">Records over time, stacked by kind</title>");
    page.markup("<path class=\"grid\" d=\"M0 0h1200M0 120h1200\"/>\n");
    for (std::size_t i = 0; i < bars.bars().size(); ++i) draw_bar(bars, i, highest, page);
    page.markup("<path class=\"base\" d=\"M0 240h1200\"/></svg></div>\n");
}

// Each kind for itself, so that a few deletions are seen beside a hundred thousand other records.
void draw_strips(const findings& found, html& page) {
    constexpr double row = 20;
    const bar_chart& bars = found.bars;
    const double step = chart_width / static_cast<double>(bars.bars().size());
    page.markup("<div class=\"chart\"><div class=\"labels rows\">");
    for (const change_kind kind : all_kinds) page.markup("<span>").markup(class_of(kind)).markup("</span>");
    page.markup(
        "</div>\n<svg class=\"strips\" viewBox=\"0 0 1200 100\" preserveAspectRatio=\"none\" role=\"img\" "
        "aria-labelledby=\"strips-title\"><title id=\"strips-title\">Each kind over time, the darker the more "
        "records</title>\n");
    for (const change_kind kind : all_kinds) {
        const std::size_t place = place_of(kind);
        std::uint64_t most = 0;
        for (const kind_counts& one : bars.bars()) most = std::max<std::uint64_t>(most, one[place]);
        for (std::size_t i = 0; i < bars.bars().size(); ++i) {
            const std::uint64_t records = bars.bars()[i][place];
            if (records == 0) continue;
            draw_rect(class_of(kind), step * static_cast<double>(i), row * static_cast<double>(place) + 2, step * 0.92,
                      row - 4, page);
            page.markup(" fill-opacity=\"").markup(place_text(shade_of(records, most))).markup("\"/>");
        }
        page.markup("\n");
    }
    page.markup("</svg></div>\n");
}

void draw_axis(const findings& found, html& page) {
    constexpr std::size_t labels = 5;
    constexpr std::uint64_t two_days = 1'728'000'000'000;
    const bar_chart& bars = found.bars;
    const std::uint64_t length = bars.width() * bars.bars().size();
    page.markup("<div class=\"chart\"><div class=\"axis\">");
    for (std::size_t i = 0; i < labels; ++i) {
        const std::string time = time_text(bars.begin_of(0) + length / (labels - 1) * i, 0);
        const bool end = i == 0 || i + 1 == labels;
        page.markup(end ? "<span>" : "<span class=\"q\">");
        page.markup(end || length > two_days || time.size() < 19 ? time.substr(0, 16) : time.substr(11))
            .markup("</span>");
    }
    page.markup("</div></div>\n");
}

void draw_hours(const findings& found, html& page) {
    const auto& days = found.hours.days();
    std::uint32_t most = 0;
    for (const day_hours::day& one : days) most = std::max(most, *std::ranges::max_element(one.hours));
    page.markup(
        "<h3>Hours by days</h3>\n<div class=\"scroll\"><table class=\"heat\"><caption>Records in each hour of a day "
        "(UTC), the darker the more");
    if (found.hours.left_out() != 0) {
        page.markup("; the last ").number(days.size()).markup(" days with records, ");
        page.markup(counted(found.hours.left_out(), "day")).markup(" before them left out");
    }
    page.markup(
        "</caption><thead><tr><th scope=\"col\">Day</th><th scope=\"col\"><div class=\"axis\"><span>0 h</span>"
        "<span>6 h</span><span>12 h</span><span>18 h</span><span>24 h</span></div></th>"
        "<th scope=\"col\" class=\"n\">Records</th></tr></thead><tbody>\n");
    for (const day_hours::day& one : days) {
        std::uint64_t records = 0;
        page.markup("<tr><th scope=\"row\" class=\"t\">").markup(time_text(one.begin, 0).substr(0, 10));
        page.markup(
            "</th><td><svg viewBox=\"0 0 24 1\" preserveAspectRatio=\"none\" aria-hidden=\"true\" focusable=\"false\">"
            "<rect class=\"none\" width=\"24\" height=\"1\"/>");
        for (std::size_t hour = 0; hour < one.hours.size(); ++hour) {
            if (one.hours[hour] == 0) continue;
            records += one.hours[hour];
            draw_rect("hour", static_cast<double>(hour) + 0.04, 0.05, 0.92, 0.9, page);
            page.markup(" fill-opacity=\"").markup(place_text(shade_of(one.hours[hour], most))).markup("\"><title>");
            page.number(hour).markup(" h: ").number(one.hours[hour]).markup("</title></rect>");
        }
        page.markup("</svg></td><td class=\"n\">").number(records).markup("</td></tr>\n");
    }
    page.markup("</tbody></table></div>\n");
}

}  // namespace

void draw_when(const findings& found, html& page) {
    page.markup("<section id=\"when\" aria-labelledby=\"when-title\">\n<h2 id=\"when-title\">When</h2>\n");
    if (found.times.last == 0) {
        page.markup("<p>No record has a time.</p>\n</section>\n");
        return;
    }
    page.markup("<p>Records by kind, one bar for ").duration(found.bars.width());
    page.markup(found.span_is_of_journal ? ", over the span of the records of the journal. "
                                         : ", over the span of all records. ");
    page.markup("A record is of the first kind that what it adds to the record before it of the same file makes it: ");
    page.markup("deleted, renamed, created, data, other, such as closing a file.</p>\n<ul class=\"legend\">");
    for (const change_kind kind : all_kinds) {
        page.markup("<li>");
        draw_kind(kind, page);
        page.markup(" ").number(found.by_kind[place_of(kind)]).markup("</li>");
    }
    page.markup("</ul>\n");
    if (found.bars.before() != 0) {
        page.markup("<p class=\"soft\">")
            .markup(counted(found.bars.before(), "record"))
            .markup(" before that span.</p>\n");
    }
    draw_bars(found, page);
    draw_axis(found, page);
    draw_strips(found, page);
    if (found.bars.behind() != 0) {
        page.markup("<p class=\"soft\">")
            .markup(counted(found.bars.behind(), "record"))
            .markup(" behind that span.</p>\n");
    }
    draw_hours(found, page);
    page.markup("</section>\n");
}

}  // namespace report
