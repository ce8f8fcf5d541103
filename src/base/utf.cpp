#include "base/utf.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace {

constexpr char32_t replacement_character = 0xFFFD;

bool is_high_surrogate(char16_t unit) { return (unit & 0xFC00U) == 0xD800U; }
bool is_low_surrogate(char16_t unit) { return (unit & 0xFC00U) == 0xDC00U; }

// What a surrogate without its partner becomes.
enum class lone_surrogate : std::uint8_t { replaced, kept };

}  // namespace

bool read_code_point(std::u16string_view text, std::size_t& at, char32_t& point) {
    const char16_t unit = text[at++];
    point = unit;
    if (!is_high_surrogate(unit) && !is_low_surrogate(unit)) return true;
    point = replacement_character;
    if (is_low_surrogate(unit) || at == text.size() || !is_low_surrogate(text[at])) return false;
    point = 0x10000U + ((unit & 0x3FFU) << 10U) + (text[at++] & 0x3FFU);
    return true;
}

char* put_utf8(char* to, char32_t point) {
    const auto byte = [&to](char32_t value) { *to++ = static_cast<char>(value); };
    const auto rest = [&byte, point](unsigned shift) { byte(0x80U | ((point >> shift) & 0x3FU)); };
    if (point < 0x80) {
        byte(point);
        return to;
    }
    if (point < 0x800) {
        byte(0xC0U | (point >> 6U));
    } else if (point < 0x10000) {
        byte(0xE0U | (point >> 12U));
        rest(6);
    } else {
        byte(0xF0U | (point >> 18U));
        rest(12);
        rest(6);
    }
    rest(0);
    return to;
}

namespace {

template <lone_surrogate lone>
void append(std::u16string_view text, std::string& out) {
    static_assert(std::endian::native == std::endian::little, "units are packed as they lie");
    constexpr std::size_t most_bytes_per_unit = 3;  // four bytes take two units
    const std::size_t begin = out.size();
    out.resize(begin + most_bytes_per_unit * text.size());
    char* to = out.data() + begin;
    for (std::size_t at = 0; at < text.size();) {
        for (; text.size() - at >= 4; at += 4, to += 4) {  // four units at a time, while they are ASCII
            std::uint64_t units = 0;
            std::memcpy(&units, text.data() + at, sizeof(units));
            if ((units & 0xFF80FF80FF80FF80U) != 0) break;
            units |= units >> 8U;
            units = (units & 0xFFFFU) | ((units >> 16U) & 0xFFFF0000U);
            std::memcpy(to, &units, 4);
        }
        if (at == text.size()) break;
        if (text[at] < 0x80) {
            *to++ = static_cast<char>(text[at++]);
        } else {
            const char16_t unit = text[at];
            char32_t point = 0;
            if (!read_code_point(text, at, point) && lone == lone_surrogate::kept) point = unit;
            to = put_utf8(to, point);
        }
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
}

}  // namespace

void append_utf8(std::u16string_view text, std::string& out) { append<lone_surrogate::replaced>(text, out); }

void append_utf8_with_surrogates(std::u16string_view text, std::string& out) {
    append<lone_surrogate::kept>(text, out);
}

std::string to_utf8(std::u16string_view text) {
    std::string out;
    append_utf8(text, out);
    return out;
}

bool read_code_point(std::string_view utf8, std::size_t& at, char32_t& point) {
    const auto byte = [&utf8](std::size_t place) { return static_cast<unsigned char>(utf8[place]); };
    const unsigned char lead = byte(at++);
    point = lead;
    if (lead < 0x80) return true;
    const std::size_t more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    if (lead < 0xC2 || lead > 0xF4 || utf8.size() - at < more) return false;
    point &= 0x3FU >> more;
    for (std::size_t i = 0; i < more; ++i) {
        if ((byte(at + i) & 0xC0U) != 0x80U) return false;
        point = (point << 6U) | (byte(at + i) & 0x3FU);
    }
    // Longer than need be, half of a surrogate pair, past the end of Unicode.
    if ((more == 2 && point < 0x800) || (more == 3 && point < 0x10000)) return false;
    if ((point >= 0xD800 && point < 0xE000) || point > 0x10FFFF) return false;
    at += more;
    return true;
}

bool read_lone_surrogate(std::string_view utf8, std::size_t& at, char32_t& surrogate) {
    const auto byte = [&](std::size_t behind) { return static_cast<unsigned char>(utf8[at + behind]); };
    if (utf8.size() - at < 3 || byte(0) != 0xED || (byte(1) & 0xE0U) != 0xA0U || (byte(2) & 0xC0U) != 0x80U)
        return false;
    surrogate = 0xD000U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
    at += 3;
    return true;
}

std::size_t count_characters(std::string_view utf8) {
    constexpr std::uint64_t each = 0x0101010101010101U;
    std::size_t continuations = 0;
    std::size_t at = 0;
    for (; utf8.size() - at >= 8; at += 8) {  // bytes 10xxxxxx: the top bit set, the next one not
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, utf8.data() + at, sizeof(bytes));
        const std::uint64_t marks = (bytes >> 7U) & ~(bytes >> 6U) & each;
        continuations += (marks * each) >> 56U;  // the sum of all bytes arrives in the top one
    }
    for (; at < utf8.size(); ++at) continuations += (static_cast<unsigned char>(utf8[at]) & 0xC0U) == 0x80U;
    return utf8.size() - continuations;
}
