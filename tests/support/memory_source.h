// tests/support/memory_source.h: bytes in memory as a source that insists on whole sectors and can have bad places.
#pragma once

#include "storage/byte_source.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

// Kept by the test, so that it can be looked at, and changed, while a reader owns the source.
struct read_faults {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> bad;  // [begin, end): a read that touches one fails
    std::size_t reads = 0;
    std::pair<std::uint64_t, std::size_t> last;  // offset and length of the latest read
};

class memory_source final : public byte_source {
public:
    explicit memory_source(std::vector<std::uint8_t> content, std::uint32_t alignment = 1, bool tells_size = true,
                           read_faults* faults = nullptr)
        : content_(std::move(content)), alignment_(alignment), tells_size_(tells_size), faults_(faults) {}

    [[nodiscard]] std::uint64_t size() const override { return tells_size_ ? content_.size() : 0; }
    [[nodiscard]] std::uint32_t alignment() const override { return alignment_; }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        got = 0;
        if (offset % alignment_ != 0 || into.size() % alignment_ != 0 || !may_read(offset, into.size())) return false;
        if (offset >= content_.size()) return true;
        got = std::min(into.size(), content_.size() - static_cast<std::size_t>(offset));
        std::memcpy(into.data(), content_.data() + offset, got);
        return true;
    }

private:
    [[nodiscard]] bool may_read(std::uint64_t offset, std::size_t length) {
        if (faults_ == nullptr) return true;
        ++faults_->reads;
        faults_->last = {offset, length};
        return std::ranges::none_of(
            faults_->bad, [&](const auto& range) { return offset < range.second && range.first < offset + length; });
    }

    std::vector<std::uint8_t> content_;
    std::uint32_t alignment_;
    bool tells_size_;
    read_faults* faults_;
};
