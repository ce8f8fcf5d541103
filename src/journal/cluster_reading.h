// journal/cluster_reading.h: how the carving passes read: neighbouring pieces together, handed on one by one; around
// damage one by one. Holes of a sparse image are not read: zeros hold no records.
#pragma once

#include "app/usnjrnl_context.h"
#include "journal/chunk_receiver.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>
#include <span>
#include <vector>

class piece_reader {
public:
    // Lives as long as one pass over `volume`.
    piece_reader(ntfs_volume& volume, usnjrnl_context& run) : volume_(volume), run_(run), receiver_(run) {}

    // Reads `count` pieces of `size` bytes, the first at byte `offset` of the source and each `step` behind the one
    // before, and hands each to the receiver. All pieces begin on the volume: bytes of theirs that cannot be read, or
    // that a truncated image does not have, are added to the run's lost bytes, those that two pieces share once.
    void read(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step);

private:
    void read_together(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step);
    void read_one(std::uint64_t offset, std::uint32_t size, std::uint32_t step);
    [[nodiscard]] std::size_t read_beginning(std::uint64_t offset, std::span<std::uint8_t> into, std::uint32_t step);
    [[nodiscard]] bool in_hole(std::uint64_t offset, std::uint64_t end);

    ntfs_volume& volume_;
    usnjrnl_context& run_;
    chunk_receiver receiver_;
    std::vector<std::uint8_t> buffer_;
    std::uint64_t asked_from_ =
        0;  // what the source last said of its holes: none of its bytes in [asked_from_, data_begin_)
    std::uint64_t data_begin_ = 0;
    std::uint64_t data_end_ = 0;
};
