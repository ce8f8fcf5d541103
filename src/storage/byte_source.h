// storage/byte_source.h: what a disk_reader reads from: an image file or a device of the system, or bytes that a test
// makes up. One virtual call a read, never one a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class byte_source {
public:
    byte_source() = default;
    byte_source(const byte_source&) = delete;
    byte_source& operator=(const byte_source&) = delete;
    virtual ~byte_source() = default;

    [[nodiscard]] virtual std::uint64_t size() const = 0;  // bytes; 0 when the system does not say

    // Offsets and lengths of reads must be multiples of this; 1 when any will do. Never 0.
    [[nodiscard]] virtual std::uint32_t alignment() const = 0;

    // Reads into.size() bytes at a byte offset; fewer only at the end of the source. False for an error; the first
    // `got` bytes of `into` are there all the same.
    [[nodiscard]] virtual bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) = 0;

    // The next stretch [begin, end) at or behind `offset` that is not a hole of the source's own. False when none
    // follows. A source that does not know its holes answers with all that is left, or, when it has no size, with
    // everything.
    [[nodiscard]] virtual bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const {
        begin = offset;
        end = size() == 0 ? ~std::uint64_t{0} : size();
        return begin < end;
    }
};
