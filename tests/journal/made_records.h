// tests/journal/made_records.h: pieces of a journal put together from records, and what was read of them as a text.
#pragma once

#include "journal/journal_collection.h"
#include "journal/ordered_reader.h"
#include "support/bytes.h"

inline bytes record_named(std::u16string name, std::uint64_t usn = 0x1000, std::uint16_t version = 2) {
    return usn_record_builder{.version = version, .name = std::move(name), .usn = usn}.build();
}

inline bytes with_number(bytes record, std::size_t at, std::size_t width, std::uint64_t value) {
    for (std::size_t i = 0; i < width; ++i) record[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    return record;
}

inline bytes joined(std::initializer_list<bytes> pieces) {
    bytes out;
    for (const bytes& piece : pieces) append(out, piece);
    return out;
}

inline bytes laid_out(std::size_t size, const std::vector<std::pair<std::size_t, bytes>>& pieces,
                      std::uint8_t between = 0) {
    bytes out(size, between);
    for (const auto& [at, piece] : pieces) std::ranges::copy(piece, out.data() + at);
    return out;
}

// Of each record, in their order, "name@unit+byte", in units of one byte "name@byte"; for a long name how many it has,
// "-" for one that failed its checks; "!" behind one of another volume.
inline std::string listed(const journal_collection& records, std::uint64_t unit = 1) {
    run_meter meter;
    ordered_reader reader(records, meter);
    std::string text;
    for (journal_entry entry; reader.next(entry);) {
        const std::string name = entry.name.size() > 9 ? std::to_string(entry.name.size())
                                                       : std::string(entry.name.begin(), entry.name.end());
        text += (text.empty() ? "" : " ") + (entry.valid == 0 ? "-" : name) + "@" +
                std::to_string(entry.record_offset / unit) +
                (unit == 1 ? "" : "+" + std::to_string(entry.record_offset % unit)) + (entry.foreign ? "!" : "");
    }
    return text;
}
