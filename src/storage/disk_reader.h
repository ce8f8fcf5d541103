// storage/disk_reader.h: reads byte ranges at 64-bit offsets from one opened source, whatever alignment its device
// demands. An ntfs_volume owns one for the run; partition detection makes one for the length of a call. Sources are
// only ever read.
#pragma once

#include "storage/byte_source.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

enum class reader_mode : std::uint8_t { image_file, live_volume, device_path };

class disk_reader {
public:
    // Opens `path` (UTF-8): an image file; a live volume by its letter ("c", "C:", "c:\"); a device path exactly as
    // given. False for an empty path, for what the system does not open, and for a device whose geometry it does not
    // tell.
    [[nodiscard]] bool open(const std::string& path, reader_mode mode);

    // Reads from `source` from now on.
    void open(std::unique_ptr<byte_source> source) { source_ = std::move(source); }

    [[nodiscard]] bool is_open() const { return source_ != nullptr; }
    void close() { source_.reset(); }

    // Reads the bytes at `offset`; `got` is lowered to what the source holds there. False when the reader is closed,
    // nothing was asked for, the offset lies at or behind the end, or the source reported an error, before which `got`
    // bytes came. storage/salvage.h reads on behind an error.
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got);

    [[nodiscard]] std::uint64_t bytes_read() const { return bytes_read_; }  // by all calls of read_at so far
    [[nodiscard]] std::uint64_t disk_size() const { return is_open() ? source_->size() : 0; }  // bytes; 0: unknown

    // Where the source has bytes of its own at or behind `offset`; between, a sparse image reads as zeros. False when
    // nothing follows.
    [[nodiscard]] bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const {
        return is_open() && source_->next_data(offset, begin, end);
    }

private:
    [[nodiscard]] bool read_aligned(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got);

    std::unique_ptr<byte_source> source_;
    std::vector<std::uint8_t> bounce_;
    std::uint64_t bytes_read_ = 0;
};
