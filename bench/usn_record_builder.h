// bench/usn_record_builder.h: change records as bytes (USN_RECORD_V2, V3 and V4), for made journals and for tests that
// break them one field at a time. The fields have their places from the format, not from the program, which would find
// its own mistakes right.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

template <std::unsigned_integral T>
void poke(std::span<std::uint8_t> into, std::size_t at, std::type_identity_t<T> value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) into[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

[[nodiscard]] constexpr std::uint64_t reference(std::uint64_t entry, std::uint64_t sequence) {
    return sequence << 48U | entry;
}

struct usn_record_builder {
    std::uint16_t version = 2;
    std::u16string name = u"report.docx";
    std::uint64_t file_ref = reference(42, 3);
    std::uint64_t parent_ref = reference(5, 5);
    std::uint64_t usn = 0x1000;
    std::uint64_t timestamp = 133'485'408'001'234'567;  // 2024-01-01 00:00:00.1234567
    std::uint32_t reason = 0x80000102;
    std::uint32_t source_info = 0x51;
    std::uint32_t security_id = 0x107;
    std::uint32_t attributes = 0x20;

    [[nodiscard]] std::size_t fixed_size() const { return version == 2 ? 60 : version == 3 ? 76 : 64; }

    // Bytes, a multiple of 8. A record of version 4 has no name, but one extent.
    [[nodiscard]] std::size_t size() const { return version == 4 ? 80 : (fixed_size() + 2 * name.size() + 7) / 8 * 8; }

    // Into as many bytes as its size.
    void write(std::span<std::uint8_t> into) const {
        std::ranges::fill(into, std::uint8_t{0});
        poke<std::uint32_t>(into, 0, static_cast<std::uint32_t>(into.size()));
        poke<std::uint16_t>(into, 4, version);
        const std::size_t wide = version == 2 ? 0 : 8;  // what 128-bit references add to an offset, each
        poke<std::uint64_t>(into, 8, file_ref);
        poke<std::uint64_t>(into, 16 + wide, parent_ref);
        poke<std::uint64_t>(into, 24 + 2 * wide, usn);
        if (version == 4) {
            poke<std::uint32_t>(into, 48, reason);
            poke<std::uint32_t>(into, 52, source_info);
            poke<std::uint16_t>(into, 60, 1);   // one extent
            poke<std::uint16_t>(into, 62, 16);  // of this size: offset and length, a page here
            poke<std::uint64_t>(into, 72, 4096);
            return;
        }
        poke<std::uint64_t>(into, 32 + 2 * wide, timestamp);
        poke<std::uint32_t>(into, 40 + 2 * wide, reason);
        poke<std::uint32_t>(into, 44 + 2 * wide, source_info);
        poke<std::uint32_t>(into, 48 + 2 * wide, security_id);
        poke<std::uint32_t>(into, 52 + 2 * wide, attributes);
        poke<std::uint16_t>(into, 56 + 2 * wide, static_cast<std::uint16_t>(2 * name.size()));
        poke<std::uint16_t>(into, 58 + 2 * wide, static_cast<std::uint16_t>(fixed_size()));
        for (std::size_t i = 0; i < name.size(); ++i) poke<std::uint16_t>(into, fixed_size() + 2 * i, name[i]);
    }

    [[nodiscard]] std::vector<std::uint8_t> build() const {
        std::vector<std::uint8_t> out(size());
        write(out);
        return out;
    }
};
