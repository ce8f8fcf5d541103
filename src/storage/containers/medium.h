// storage/containers/medium.h: the disk that a container keeps, as a library reads it, and the byte_source over it.
#pragma once

#include "storage/byte_source.h"
#include "storage/containers/allocation.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

// One opened container. What its destructor closes was opened for reading only.
class medium {
public:
    medium() = default;
    medium(const medium&) = delete;
    medium& operator=(const medium&) = delete;
    virtual ~medium() = default;

    [[nodiscard]] virtual std::uint64_t size() const = 0;  // bytes

    // Bytes that are kept together, and inflated together where they are compressed. Never 0.
    [[nodiscard]] virtual std::size_t chunk_size() const = 0;

    // Fills all of `into` from a byte offset; false when any byte of it is not what was written there. The range lies
    // inside the medium and in one chunk, and the images of a chain in front of `level` keep nothing of it.
    [[nodiscard]] virtual bool read(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t level) = 0;
};

// `tables`: null where there are none. A hole, or what is lost, is never asked of the medium. Keeps the
// chunks that were read in part: neighbouring small reads, and the edges of long ones, inflate a chunk once.
[[nodiscard]] std::unique_ptr<byte_source> make_container_source(std::unique_ptr<medium> from,
                                                                 std::unique_ptr<allocation> tables);
