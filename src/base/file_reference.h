// base/file_reference.h: an NTFS file reference: MFT entry number in bits 0-47, sequence number in bits 48-63.
#pragma once

#include <bit>
#include <cstdint>
#include <string>

[[nodiscard]] constexpr std::uint64_t entry_number(std::uint64_t file_reference) {
    return file_reference & 0xFFFFFFFFFFFFU;
}

[[nodiscard]] constexpr std::uint16_t sequence_number(std::uint64_t file_reference) {
    return static_cast<std::uint16_t>(file_reference >> 48U);
}

[[nodiscard]] constexpr std::uint64_t file_reference(std::uint64_t entry, std::uint16_t sequence) {
    return entry_number(entry) | std::uint64_t{sequence} << 48U;
}

// A number that orders references by entry number, then sequence number.
[[nodiscard]] constexpr std::uint64_t reference_order(std::uint64_t reference) { return std::rotl(reference, 16); }

// "86780-9": entry and sequence number in decimal.
[[nodiscard]] inline std::string reference_text(std::uint64_t reference) {
    return std::to_string(entry_number(reference)) + "-" + std::to_string(sequence_number(reference));
}
