// journal/piece_reader.h: how the carving passes read: neighbouring pieces together, handed on one by one; around
// damage one by one. Holes of a sparse image are not read: zeros hold no records.
#pragma once

#include "journal/journal_intake.h"
#include "ntfs/ntfs_volume.h"
#include "storage/salvage.h"

#include <cstdint>
#include <vector>

class piece_reader {
public:
    // Lives as long as one pass over `volume`.
    piece_reader(ntfs_volume& volume, journal_intake& intake) : volume_(volume), intake_(intake) {}

    // Reads `count` pieces of `size` bytes, the first at byte `offset` of the source and each `step` behind the one
    // before, and has each carved. All pieces begin on the volume: bytes of theirs that cannot be read, or that a
    // truncated image does not have, are lost, those that two pieces share once.
    void read(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step,
              const carving_pass& pass);

private:
    void read_together(std::uint64_t offset, std::uint64_t count, std::uint32_t size, std::uint32_t step,
                       const carving_pass& pass);
    [[nodiscard]] bool in_hole(std::uint64_t offset, std::uint64_t end);

    ntfs_volume& volume_;
    journal_intake& intake_;
    std::vector<std::uint8_t> buffer_;
    loss_list losses_;

    // What the source last said of its holes: none of its bytes in [asked_from_, data_begin_).
    std::uint64_t asked_from_ = 0;
    std::uint64_t data_begin_ = 0;
    std::uint64_t data_end_ = 0;
};
