#include "output/json_text.h"

#include "base/utf.h"
#include "output/text_buffer.h"

#include <array>
#include <cstdint>

namespace uni {
namespace {

// What is to be done with a byte: nothing, an escape of one letter, an escape by number, a look at more than the byte.
constexpr char plain = 0;
constexpr char by_number = 'u';
constexpr char beyond_ascii = 1;

constexpr auto escapes = [] {
    std::array<char, 256> table{};
    for (std::size_t byte = 0; byte < 0x20; ++byte) table[byte] = by_number;
    for (std::size_t byte = 0x80; byte < 0x100; ++byte) table[byte] = beyond_ascii;
    table['\b'] = 'b';
    table['\f'] = 'f';
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    return table;
}();

char* put_escape(char* to, char escape, unsigned byte) {
    *to++ = '\\';
    *to++ = escape;
    if (escape != by_number) return to;
    constexpr std::string_view digits = "0123456789abcdef";
    *to++ = '0';
    *to++ = '0';
    *to++ = digits[byte >> 4U];
    *to++ = digits[byte & 0xFU];
    return to;
}

// A surrogate without its partner, as a path may keep it, see base/utf.h: one character, three bytes.
bool is_kept_surrogate(std::string_view text) {
    return text.size() >= 3 && text[0] == '\xED' && (static_cast<std::uint8_t>(text[1]) & 0xE0U) == 0xA0U &&
           (static_cast<std::uint8_t>(text[2]) & 0xC0U) == 0x80U;
}

}  // namespace

char* put_json(char* to, char32_t point) {
    if (point >= 0x80) return put_utf8(to, point);
    if (const char escape = escapes[point]; escape != plain) return put_escape(to, escape, point);
    *to++ = static_cast<char>(point);
    return to;
}

char* put_json(char* to, std::u16string_view text, bool& whole) {
    for (std::size_t at = 0; at < text.size();) {
        const char16_t unit = text[at];
        if (unit < 0x80 && escapes[unit] == plain) {
            *to++ = static_cast<char>(unit);
            ++at;
        } else {
            char32_t point = 0;
            whole = read_code_point(text, at, point) && whole;
            to = put_json(to, point);
        }
    }
    return to;
}

char* put_json(char* to, std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<std::uint8_t>(text[at]);
        const char escape = escapes[byte];
        if (escape == plain) {
            *to++ = text[at++];
        } else if (escape != beyond_ascii) {
            to = put_escape(to, escape, byte);
            ++at;
        } else {
            const std::size_t begin = at;
            char32_t point = 0;
            const bool sound = read_code_point(text, at, point);
            to = put_text(to, sound ? text.substr(begin, at - begin) : "\uFFFD");
            if (!sound && is_kept_surrogate(text.substr(begin))) at = begin + 3;
        }
    }
    return to;
}

std::string json_string(std::string_view text) {
    std::string out(most_json_bytes * text.size() + 2, '"');
    char* const end = put_json(out.data() + 1, text);
    *end = '"';
    out.resize(static_cast<std::size_t>(end - out.data()) + 1);
    return out;
}

}  // namespace uni
