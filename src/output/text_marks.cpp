#include "output/text_marks.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace uni {
namespace {

constexpr std::uint64_t each_unit = 0x0001000100010001;

// Looks at four units in one word, all at once, and packs them into four bytes.
struct four_units {
    std::uint64_t replaced = 0;  // the replaced character in each unit
    std::uint64_t found = 0;     // not 0: a unit was not plain

    void put(const char16_t* from, char* to) {
        static_assert(std::endian::native == std::endian::little, "units are packed as they lie");
        std::uint64_t units = 0;
        std::memcpy(&units, from, sizeof(units));
        // Adding carries into bit 7 of a unit below 0x80 when it is above CR, and when it differs from the replaced
        // one.
        const std::uint64_t above_cr = units + each_unit * (0x7F - '\r');
        const std::uint64_t differs = (units ^ replaced) + each_unit * 0x7F;
        found |= (units & (each_unit * 0xFF80)) | (~(above_cr & differs) & (each_unit * 0x80));
        units |= units >> 8U;
        units = (units & 0xFFFFU) | ((units >> 16U) & 0xFFFF0000U);
        std::memcpy(to, &units, 4);
    }
    [[nodiscard]] bool plain() const { return found == 0; }
};

}  // namespace
void mark_line_breaks(std::string& text) {
    if (text.find_first_of("\r\n") == std::string::npos) return;
    const bool only_cr = text.find('\n') == std::string::npos;
    std::string marked;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string_view pair = std::string_view(text).substr(at, 2);
        if (pair == "\r\n") {
            marked += "[CRLF]";
            ++at;
        } else if (pair == "\n\r") {
            marked += "[LFCR]";
            ++at;
        } else if (pair[0] == '\n') {
            marked += "[LF]";
        } else if (pair[0] == '\r' && only_cr) {
            marked += "[CR]";
        } else {
            marked += pair[0];
        }
    }
    text = std::move(marked);
}

std::string_view table_text(std::string_view text, const cmd_params& settings, std::string& scratch) {
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

bool put_plain_name(std::u16string_view name, char replaced, char* to) {
    four_units found;
    found.replaced = each_unit * static_cast<unsigned char>(replaced);
    const std::size_t size = name.size();
    if (size >= 4) {
        for (std::size_t at = 0; at < size - 4; at += 4) found.put(name.data() + at, to + at);
        found.put(name.data() + size - 4, to + size - 4);  // overlaps the last one instead of a loop over single units
        return found.plain();
    }
    std::array<char16_t, 4> units{u'x', u'x', u'x', u'x'};
    std::array<char, 4> bytes{};
    std::ranges::copy(name, units.begin());
    found.put(units.data(), bytes.data());
    std::copy_n(bytes.begin(), size, to);
    return found.plain();
}

}  // namespace uni
