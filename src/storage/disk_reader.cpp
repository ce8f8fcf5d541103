#include "storage/disk_reader.h"

#include "platform/platform.h"
#include "storage/volume_names.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr auto highest_offset = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

class image_source final : public byte_source {
public:
    [[nodiscard]] bool open(const std::string& path) {
        if (!file_.open_for_reading(path)) return false;
        size_ = static_cast<std::uint64_t>(std::max<std::int64_t>(file_.size(), 0));
        return true;
    }
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::uint32_t alignment() const override { return 1; }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        got = 0;
        while (got < into.size()) {  // a short read is no error: the rest is asked for
            std::size_t part = 0;
            if (!file_.read_at(static_cast<std::int64_t>(offset + got), into.subspan(got), part)) break;
            got += part;
        }
        return got == into.size() || offset + got >= size_;
    }
    [[nodiscard]] bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const override {
        std::int64_t data = 0;
        std::int64_t hole = 0;
        if (offset > highest_offset || !file_.next_data(static_cast<std::int64_t>(offset), data, hole)) return false;
        begin = static_cast<std::uint64_t>(data);
        end = static_cast<std::uint64_t>(hole);
        return true;
    }

private:
    platform::file file_;
    std::uint64_t size_ = 0;
};

class device_source final : public byte_source {
public:
    [[nodiscard]] bool open(const std::string& path) {
        platform::device_geometry geometry;
        if (!device_.open(path) || !device_.query_geometry(geometry)) return false;
        if (geometry.bytes_per_sector != 0) alignment_ = geometry.bytes_per_sector;
        size_ = static_cast<std::uint64_t>(std::max<std::int64_t>(geometry.total_size, 0));
        return true;
    }
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::uint32_t alignment() const override { return alignment_; }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        return device_.read_at(static_cast<std::int64_t>(offset), into, got) != platform::device_read::failed;
    }

private:
    platform::device device_;
    std::uint64_t size_ = 0;
    std::uint32_t alignment_ = 512;
};

}  // namespace

bool disk_reader::open(const std::string& path, reader_mode mode) {
    close();
    if (path.empty()) return false;
    if (mode == reader_mode::image_file) {
        auto source = std::make_unique<image_source>();
        if (!source->open(path)) return false;
        source_ = std::move(source);
        return true;
    }
    auto source = std::make_unique<device_source>();
    if (!source->open(mode == reader_mode::live_volume ? live_volume_path(path.front()) : path)) return false;
    source_ = std::move(source);
    return true;
}

bool disk_reader::read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) {
    got = 0;
    if (!is_open() || into.empty() || offset > highest_offset || into.size() > highest_offset - offset) return false;
    if (const std::uint64_t size = disk_size(); size != 0) {
        if (offset >= size) return false;
        into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size - offset)));
    }
    const bool read = read_aligned(offset, into, got);
    bytes_read_ += got;
    return read && got != 0;
}

// Whole sectors go straight into the caller's buffer, anything else through one of our own.
bool disk_reader::read_aligned(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) {
    const std::uint64_t sector = source_->alignment();
    const auto lead = static_cast<std::size_t>(offset % sector);
    if (lead == 0 && into.size() % sector == 0) return source_->read_at(offset, into, got);

    const std::uint64_t span = (into.size() + lead + sector - 1) / sector * sector;
    try {
        bounce_.resize(static_cast<std::size_t>(span));
    } catch (const std::bad_alloc&) {
        return false;
    }
    std::size_t bounced = 0;
    const bool read = source_->read_at(offset - lead, bounce_, bounced);
    got = std::min(into.size(), bounced > lead ? bounced - lead : 0);
    if (got != 0) std::memcpy(into.data(), bounce_.data() + lead, got);
    return read;
}
