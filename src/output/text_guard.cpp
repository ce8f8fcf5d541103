#include "output/text_guard.h"

#include "base/format_text.h"
#include "base/utf.h"
#include "output/text_marks.h"
#include "output/xml_escape.h"

#include <algorithm>
#include <array>

namespace uni {
namespace {

constexpr char32_t replacement_character = 0xFFFD;

constexpr bool is_surrogate(char32_t point) { return point >= 0xD800 && point < 0xE000; }

// What ends a line, or changes the order in which the characters of a line are shown.
constexpr bool directs_text(char32_t point) {
    return point == 0x2028 || point == 0x2029 || (point >= 0x202A && point <= 0x202E) ||
           (point >= 0x2066 && point <= 0x2069);
}

// The next character, which may be a surrogate; a byte of no character at all reads as U+FFFD.
char32_t next_character(std::string_view utf8, std::size_t& at) {
    char32_t point = 0;
    if (read_lone_surrogate(utf8, at, point) || read_code_point(utf8, at, point)) return point;
    return replacement_character;
}

void append_mark(char32_t point, std::string& out) { out += format_text("[U+%04X]", static_cast<unsigned>(point)); }

bool is_upper_hexadecimal(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

// Whether a text begins like "[U+000A]". Both ways to write text in marks have it.
bool begins_with_character_mark(std::string_view text) {
    constexpr std::string_view opening = "[U+";
    if (!text.starts_with(opening)) return false;
    text.remove_prefix(opening.size());
    const auto end = std::ranges::find_if_not(text, is_upper_hexadecimal);
    const auto digits = end - text.begin();
    return digits >= 4 && digits <= 6 && end != text.end() && *end == ']';
}

bool begins_with_line_mark(std::string_view text) {
    constexpr std::array<std::string_view, 4> marks = {"[LF]", "[CR]", "[CRLF]", "[LFCR]"};
    return std::ranges::any_of(marks, [text](std::string_view mark) { return text.starts_with(mark); });
}

// Letters, digits and signs that the program's own words, numbers and times are made of.
constexpr bool is_in_own_words(char32_t point) {
    return point < 0x80 && point != '|' && point != ',' && !is_control(point);
}

}  // namespace

text_guard::text_guard(std::string_view separator) {
    std::u32string characters;
    for (std::size_t at = 0; at < separator.size();) characters += next_character(separator, at);
    const bool only_blanks = characters.find_first_not_of(U' ') == std::u32string::npos;
    for (const char32_t point : characters) {
        if ((point == U' ' && !only_blanks) || guarded_.find(point) != std::u32string::npos) continue;
        guarded_ += point;
        guards_own_words_ = guards_own_words_ || is_in_own_words(point);
        if (point >= 0x80 || point == U'[') continue;
        more_letters_ = guarded_letter_ != '[';
        guarded_letter_ = static_cast<char>(point);
    }
}

std::size_t text_guard::plain_length(std::string_view text) const {
    const auto plain = [this](char c) { return c >= ' ' && c < '\x7f' && c != '[' && c != guarded_letter_; };
    if (more_letters_) return 0;
    return static_cast<std::size_t>(std::ranges::find_if_not(text, plain) - text.begin());
}

bool text_guard::put_plain_name(std::u16string_view name, char* to) const {
    return !more_letters_ && put_plain_guarded_name(name, guarded_letter_, to);
}

bool text_guard::is_marked(char32_t point) const {
    return is_control(point) || directs_text(point) || is_surrogate(point) ||
           guarded_.find(point) != std::u32string::npos;
}

void text_guard::append(std::string_view utf8, std::string& out) const {
    const bool only_cr = utf8.find('\n') == std::string_view::npos;
    for (std::size_t at = 0; at < utf8.size();) {
        const std::string_view rest = utf8.substr(at);
        if (const std::size_t plain = plain_length(rest); plain != 0) {
            out += rest.substr(0, plain);
            at += plain;
            continue;
        }
        if (const std::string_view mark = line_break_mark(utf8, at, only_cr); !mark.empty()) {
            out += mark;
            continue;
        }
        const std::size_t begin = at;
        const char32_t point = next_character(utf8, at);
        if (is_marked(point) || begins_with_character_mark(rest) || begins_with_line_mark(rest)) {
            append_mark(point, out);
        } else if (point == replacement_character) {
            append_utf8(u"\xFFFD", out);
        } else {
            out += utf8.substr(begin, at - begin);
        }
    }
}

std::string_view text_guard::guarded(std::string_view utf8, std::string& scratch) const {
    if (is_plain(utf8)) return utf8;
    scratch.clear();
    append(utf8, scratch);
    return scratch;
}

void append_guarded_xml(std::string_view utf8, std::string& out) {
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t begin = at;
        const char32_t point = next_character(utf8, at);
        if (!allowed_in_xml(point) || begins_with_character_mark(utf8.substr(begin))) {
            append_mark(point, out);
        } else if (directs_text(point) || (point >= 0x7F && is_control(point))) {
            out += format_text("&#x%x;", static_cast<unsigned>(point));
        } else {
            append_escaped(utf8.substr(begin, at - begin), out);
        }
    }
}

}  // namespace uni
