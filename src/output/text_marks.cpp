#include "output/text_marks.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace uni {
namespace {

// Units or bytes that are worked on at once; gcc and clang know such types on every processor.
constexpr std::size_t step = 8;
using unit_block [[gnu::vector_size(2 * step)]] = std::uint16_t;
using byte_block [[gnu::vector_size(step)]] = std::uint8_t;

// Looks at a block of units and packs them into bytes.
template <bool guarded>
struct unit_packer {
    std::uint16_t replaced = 0;
    unit_block found{};  // a bit set: a unit was not plain

    void put(const char16_t* from, char* to) {
        unit_block units;
        std::memcpy(&units, from, sizeof(units));
        // Adding carries into bit 7 of a unit below 0x80 when it is high enough, when it differs from the replaced one,
        // and when it is DEL.
        constexpr std::uint16_t lowest = guarded ? ' ' : '\r' + 1;
        constexpr std::uint16_t up_to_lowest = 0x80 - lowest;
        unit_block good = (units + up_to_lowest) & ((units ^ replaced) + 0x7F);
        if constexpr (guarded) {
            constexpr std::uint16_t bracket = '[';
            good &= ((units ^ bracket) + 0x7F) & ~(units + 1);
        }
        found |= (units & 0xFF80) | (~good & 0x80);
        const byte_block bytes = __builtin_convertvector(units, byte_block);
        std::memcpy(to, &bytes, sizeof(bytes));
    }
    [[nodiscard]] bool plain() const {
        std::array<std::uint64_t, sizeof(found) / 8> bits{};
        std::memcpy(bits.data(), &found, sizeof(found));
        return (bits[0] | bits[1]) == 0;
    }
};

template <bool guarded>
bool put_plain(std::u16string_view name, char replaced, char* to) {
    unit_packer<guarded> found{.replaced = static_cast<unsigned char>(replaced)};
    const std::size_t size = name.size();
    if (size >= step) {
        for (std::size_t at = 0; at < size - step; at += step) found.put(name.data() + at, to + at);
        found.put(name.data() + size - step, to + size - step);  // overlaps the one before instead of single units
        return found.plain();
    }
    std::array<char16_t, step> units{};
    std::array<char, step> bytes{};
    units.fill(u'x');
    std::copy_n(name.data(), size, units.begin());
    found.put(units.data(), bytes.data());
    std::copy_n(bytes.begin(), size, to);
    return found.plain();
}

}  // namespace

std::string_view line_break_mark(std::string_view text, std::size_t& at, bool only_cr) {
    const std::string_view pair = text.substr(at, 2);
    if (pair == "\r\n" || pair == "\n\r") {
        at += 2;
        return pair[0] == '\r' ? "[CRLF]" : "[LFCR]";
    }
    if (pair[0] != '\n' && (pair[0] != '\r' || !only_cr)) return {};
    ++at;
    return pair[0] == '\n' ? "[LF]" : "[CR]";
}

void mark_line_breaks(std::string& text) {
    if (text.find_first_of("\r\n") == std::string::npos) return;
    const bool only_cr = text.find('\n') == std::string::npos;
    std::string marked;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view mark = line_break_mark(text, at, only_cr);
        if (mark.empty()) {
            marked += text[at++];
        } else {
            marked += mark;
        }
    }
    text = std::move(marked);
}

std::string_view table_text(std::string_view text, const layout_settings& settings, std::string& scratch) {
    const char replaced = settings.replaced_character;
    const bool replace = replaced != 0 && text.find(replaced) != std::string_view::npos;
    const bool mark = settings.mark_line_breaks &&
                      (text.find('\n') != std::string_view::npos || text.find('\r') != std::string_view::npos);
    if (!replace && !mark) return text;
    scratch = text;
    if (replace) replace_all(scratch, replaced, settings.replacement);
    if (mark) mark_line_breaks(scratch);
    return scratch;
}

bool put_plain_name(std::u16string_view name, char replaced, char* to) { return put_plain<false>(name, replaced, to); }

bool put_plain_guarded_name(std::u16string_view name, char guarded, char* to) {
    return put_plain<true>(name, guarded, to);
}

}  // namespace uni
