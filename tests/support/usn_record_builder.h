// tests/support/usn_record_builder.h: a valid change record of any version, to be broken one field at a time.
#pragma once

#include "journal/usn_record.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using bytes = std::vector<std::uint8_t>;

template <std::unsigned_integral T>
void poke(bytes& into, std::size_t at, std::type_identity_t<T> value) {
    const T number = value;
    std::memcpy(into.data() + at, &number, sizeof number);
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
    std::uint32_t attributes = 0x20;

    // The record padded to a multiple of 8, which is its RecordLength.
    [[nodiscard]] bytes build() const {
        const std::size_t fixed = version == 2   ? usn_v2::fixed_size
                                  : version == 3 ? usn_v3::fixed_size
                                                 : usn_v4::fixed_size;
        const std::size_t name_bytes = version == 4 ? 0 : name.size() * 2;
        bytes out((fixed + name_bytes + 7) / 8 * 8);
        poke<std::uint32_t>(out, usn_header::record_length, static_cast<std::uint32_t>(out.size()));
        poke<std::uint16_t>(out, usn_header::major_version, version);
        const std::size_t wide = version == 2 ? 0 : 8;  // what 128-bit references add to an offset, each
        poke<std::uint64_t>(out, 8, file_ref);
        poke<std::uint64_t>(out, 16 + wide, parent_ref);
        poke<std::uint64_t>(out, 24 + 2 * wide, usn);
        if (version == 4) {
            poke<std::uint32_t>(out, usn_v4::reason, reason);
            poke<std::uint32_t>(out, usn_v4::source_info, 0x51);
            return out;
        }
        poke<std::uint64_t>(out, 32 + 2 * wide, timestamp);
        poke<std::uint32_t>(out, 40 + 2 * wide, reason);
        poke<std::uint32_t>(out, 44 + 2 * wide, 0x51);
        poke<std::uint32_t>(out, 48 + 2 * wide, 0x107);
        poke<std::uint32_t>(out, 52 + 2 * wide, attributes);
        poke<std::uint16_t>(out, 56 + 2 * wide, static_cast<std::uint16_t>(name_bytes));
        poke<std::uint16_t>(out, 58 + 2 * wide, static_cast<std::uint16_t>(fixed));
        std::memcpy(out.data() + fixed, name.data(), name_bytes);
        return out;
    }
};

inline void append(bytes& to, const bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

// Zeros up to the next journal page.
inline void fill_page(bytes& to) { to.resize((to.size() + 4095) / 4096 * 4096); }
