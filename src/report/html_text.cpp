#include "report/html_text.h"

#include "base/filetime.h"
#include "base/format_text.h"
#include "base/utf.h"
#include "output/iso_time.h"
#include "output/text_marks.h"
#include "output/xml_escape.h"

#include <algorithm>
#include <array>
#include <vector>

namespace report {
namespace {

struct range {
    char32_t first, last;
};

// Seen by nobody, or turning what stands beside them: format characters, fillers, variation selectors, tags.
constexpr std::array<range, 20> unseen{{{0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x061C, 0x061C},    {0x115F, 0x1160},
                                        {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},    {0x2028, 0x202E},
                                        {0x2060, 0x206F},   {0x3164, 0x3164},   {0xFDD0, 0xFDEF},    {0xFE00, 0xFE0F},
                                        {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF9, 0xFFFB},    {0x1BCA0, 0x1BCA3},
                                        {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}, {0xF0000, 0x10FFFF}, {0xE000, 0xF8FF}}};

bool is_seen(char32_t point) {
    constexpr char32_t of_no_character = 0xFFFE;  // and the next one, in every plane
    if (uni::is_control(point) || !uni::allowed_in_xml(point) || (point & of_no_character) == of_no_character)
        return false;
    return std::ranges::none_of(unseen, [point](const range& one) { return point >= one.first && point <= one.last; });
}

struct shown_character {
    char32_t point;
    bool seen;

    [[nodiscard]] std::size_t width() const { return seen ? 1 : point > 0xFFFFF ? 8 : point > 0xFFFF ? 7 : 6; }
};

std::vector<shown_character> characters_of(std::string_view text) {
    std::vector<shown_character> out;
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        char32_t point = 0;
        if (read_lone_surrogate(text, at, point)) {
            out.push_back({point, false});
        } else if (!read_code_point(text, at, point)) {
            out.push_back({byte, false});
        } else {
            out.push_back({point, is_seen(point)});
        }
    }
    return out;
}

void put(const shown_character& one, std::string& out) {
    if (!one.seen) {
        out += format_text("<b class=\"u\">U+%04X</b>", static_cast<unsigned>(one.point));
        return;
    }
    switch (one.point) {
        case '<': out += "&lt;"; return;
        case '>': out += "&gt;"; return;
        case '&': out += "&amp;"; return;
        case '"': out += "&quot;"; return;
        default: break;
    }
    std::array<char, 4> bytes{};
    out.append(bytes.data(), put_utf8(bytes.data(), one.point));
}

}  // namespace

html& html::text(std::string_view text, std::size_t most) {
    const std::vector<shown_character> characters = characters_of(text);
    std::size_t width = 0;
    for (const shown_character& one : characters) width += one.width();
    if (width <= most) {
        for (const shown_character& one : characters) put(one, out_);
        return *this;
    }
    std::size_t begin = 0;
    std::size_t end = characters.size();
    for (std::size_t room = most / 2; characters[begin].width() <= room; ++begin) {
        room -= characters[begin].width();
        put(characters[begin], out_);
    }
    for (std::size_t room = most / 2; characters[end - 1].width() <= room; --end) room -= characters[end - 1].width();
    out_ += "<b class=\"cut\">[" + counted(end - begin, "character") + " cut out]</b>";
    for (; end < characters.size(); ++end) put(characters[end], out_);
    return *this;
}

html& html::name(std::string_view text, std::size_t most) { return markup("<bdi>").text(text, most).markup("</bdi>"); }

html& html::number(std::uint64_t number) { return markup(grouped(number)); }

html& html::plain_number(std::int64_t number) { return markup(std::to_string(number)); }

html& html::decimal(double number) { return markup(format_text("%g", number)); }

html& html::size(std::uint64_t bytes) {
    constexpr std::array units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    constexpr double step = 1024;
    const std::string exact = counted(bytes, "byte");
    if (bytes < 1024) return markup(exact);
    auto value = static_cast<double>(bytes) / step;
    std::size_t unit = 0;
    while (value >= step && unit + 1 < units.size()) {
        value /= step;
        ++unit;
    }
    return markup(format_text("%.1f %s (", value, units[unit])).markup(exact).markup(")");
}

html& html::time(std::uint64_t filetime, unsigned digits) { return markup(time_text(filetime, digits)); }

html& html::duration(std::uint64_t ticks) { return markup(duration_text(ticks)); }

std::string grouped(std::uint64_t number) {
    std::string out = std::to_string(number);
    for (std::size_t at = out.size(); at > 3;) out.insert(at -= 3, 1, ',');
    return out;
}

std::string time_text(std::uint64_t filetime, unsigned digits) {
    if (filetime == 0) return "no time";
    if (filetime >= uni::end_of_iso_times) return "after the year 9999";
    constexpr std::size_t to_seconds = 19;
    uni::iso_time iso;
    std::string out(iso.text_of(filetime).substr(0, digits == 0 ? to_seconds : to_seconds + 1 + digits));
    out[10] = ' ';
    return out;
}

std::string duration_text(std::uint64_t ticks) {
    struct unit {
        std::uint64_t ticks;
        const char* name;
    };
    constexpr std::uint64_t second = ticks_per_second;
    constexpr std::array<unit, 4> units{
        {{86'400 * second, "d"}, {3'600 * second, "h"}, {60 * second, "min"}, {second, "s"}}};
    if (ticks < second) return format_text("%g s", static_cast<double>(ticks) / static_cast<double>(second));
    std::size_t at = 0;
    while (ticks < units[at].ticks) ++at;
    std::string out = grouped(ticks / units[at].ticks) + " " + units[at].name;
    if (at + 1 == units.size()) return out;
    const std::uint64_t rest = ticks % units[at].ticks / units[at + 1].ticks;
    return rest == 0 ? out : out + " " + std::to_string(rest) + " " + units[at + 1].name;
}

std::string counted(std::uint64_t number, std::string_view one, std::string_view many) {
    std::string out = grouped(number) + " ";
    if (number == 1) return out.append(one);
    return many.empty() ? out.append(one) + "s" : out.append(many);
}

}  // namespace report
