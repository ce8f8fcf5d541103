#include "output/xml_escape.h"

#include "base/utf.h"
#include "output/text_marks.h"

#include <algorithm>
#include <array>

namespace uni {
namespace {

constexpr std::string_view replacement_text = "\xEF\xBF\xBD";

// Empty for a character that stands for itself.
constexpr std::string_view reference_for(char32_t point) {
    switch (point) {
        case '<': return "&lt;";
        case '>': return "&gt;";
        case '&': return "&amp;";
        case '"': return "&quot;";
        case '\'': return "&apos;";
        case '\r': return "&#13;";
        case '\n': return "&#10;";
        case '\t': return "&#9;";
        default: return {};
    }
}

// The last place stands for everything that is not ASCII.
constexpr auto stands_for_itself = [] {
    std::array<bool, 0x80> plain{};
    for (char16_t unit = 0x20; unit < 0x7F; ++unit) plain[unit] = reference_for(unit).empty();
    return plain;
}();

}  // namespace

bool allowed_in_xml(char32_t point) {
    if (point < 0x20) return point == '\t' || point == '\n' || point == '\r';
    return point != 0xFFFE && point != 0xFFFF && (point < 0xD800 || point >= 0xE000);
}

void xml_escape(std::u16string_view text, std::u16string& out) {
    constexpr std::u16string_view digits = u"0123456789abcdef";
    out.clear();
    for (const char16_t unit : text) {
        const auto low = static_cast<unsigned char>(unit & 0xFFU);
        if (unit != '\r' && unit != '\n' && (low < 0x20 || low > 0x7E)) {
            out += {u'%', digits[low >> 4U], digits[low & 0xFU]};
        } else if (unit == '<') {
            out += u"&lt;";
        } else if (unit == '>') {
            out += u"&gt;";
        } else if (unit == '&') {
            out += u"&amp;";
        } else {
            out += unit;
        }
    }
}

void append_escaped(std::string_view utf8, std::string& out) {
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t begin = at;
        char32_t point = 0;
        if (!read_code_point(utf8, at, point) || !allowed_in_xml(point)) {
            out += replacement_text;
        } else if (const std::string_view reference = reference_for(point); !reference.empty()) {
            out += reference;
        } else {
            out += utf8.substr(begin, at - begin);
        }
    }
}

void append_comment_text(std::string_view text, std::string& out) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        char32_t point = 0;
        if (!read_code_point(text, at, point) || is_control(point) || !allowed_in_xml(point)) {
            out += '?';
            continue;
        }
        if (point == '-' && out.ends_with('-')) out += ' ';
        out += text.substr(begin, at - begin);
    }
}

bool put_unescaped_name(std::u16string_view name, char* to) {
    bool plain = true;
    for (const char16_t unit : name) {
        *to++ = static_cast<char>(unit);
        plain &= stands_for_itself[std::min<char16_t>(unit, 0x7F)];
    }
    return plain;
}

}  // namespace uni
