// base/crc32.h: the checksum of GPT headers: CRC-32 of IEEE 802.3, polynomial 0x04C11DB7 in reflected form, or of
// another polynomial in that form. Bit by bit, for the few hundred bytes of a sector.
#pragma once

#include <cstdint>
#include <span>

[[nodiscard]] constexpr std::uint32_t crc32(std::span<const std::uint8_t> bytes,
                                            std::uint32_t reflected_polynomial = 0xEDB88320) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? reflected_polynomial : 0);
    }
    return ~sum;
}
