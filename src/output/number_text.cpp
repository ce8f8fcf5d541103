#include "output/number_text.h"

#include "output/text_buffer.h"

#include <array>
#include <bit>
#include <charconv>

namespace uni {
namespace {

constexpr std::string_view hex_digits = "0123456789abcdef";

// Both digits of every byte.
constexpr auto hex_pairs = [] {
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[2 * byte] = hex_digits[byte / 16];
        pairs[2 * byte + 1] = hex_digits[byte % 16];
    }
    return pairs;
}();

}  // namespace

char* put_hexadecimal(char* to, std::uint64_t value, std::size_t digits) {
    const std::size_t needed = (64 - static_cast<std::size_t>(std::countl_zero(value)) + 3) / 4;
    digits = std::max({digits, needed, std::size_t{1}});
    *to++ = '0';
    *to++ = 'x';
    char* const end = to + digits;
    char* at = end;
    for (; at - to >= 2; value >>= 8U) {
        at -= 2;
        std::memcpy(at, hex_pairs.data() + 2 * (value & 0xFFU), 2);
    }
    if (at != to) *to = hex_digits[value & 0xFU];
    return end;
}

char* put_decimal(char* to, std::uint64_t value, std::size_t width) {
    std::array<char, 20> digits{};  // 2^64 - 1 has twenty
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    const auto count = static_cast<std::size_t>(end - digits.data());
    if (count < width) to = put_blanks(to, width - count);
    return put_text(to, {digits.data(), count});
}

}  // namespace uni
