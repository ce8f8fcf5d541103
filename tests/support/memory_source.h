// tests/support/memory_source.h: sources made up by tests: bytes in memory that insist on whole sectors, and bad
// places.
#pragma once

#include "storage/byte_source.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

class memory_source final : public byte_source {
public:
    explicit memory_source(std::vector<std::uint8_t> content, std::uint32_t alignment = 1, bool tells_size = true)
        : content_(std::move(content)), alignment_(alignment), tells_size_(tells_size) {}

    [[nodiscard]] std::uint64_t size() const override { return tells_size_ ? content_.size() : 0; }
    [[nodiscard]] std::uint32_t alignment() const override { return alignment_; }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        got = 0;
        if (offset % alignment_ != 0 || into.size() % alignment_ != 0) return false;
        if (offset >= content_.size()) return true;
        got = std::min(into.size(), content_.size() - static_cast<std::size_t>(offset));
        std::memcpy(into.data(), content_.data() + offset, got);
        return true;
    }

private:
    std::vector<std::uint8_t> content_;
    std::uint32_t alignment_;
    bool tells_size_;
};

// Kept by the test, so that it can be looked at, and changed, while a reader owns the source.
struct read_faults {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> bad;  // [begin, end): a read that touches one fails
    std::size_t reads = 0;
    std::pair<std::uint64_t, std::size_t> last;  // offset and length of the latest read
};

class faulty_source final : public byte_source {
public:
    faulty_source(std::unique_ptr<byte_source> inner, read_faults& faults)
        : inner_(std::move(inner)), faults_(faults) {}

    [[nodiscard]] std::uint64_t size() const override { return inner_->size(); }
    [[nodiscard]] std::uint32_t alignment() const override { return inner_->alignment(); }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        ++faults_.reads;
        faults_.last = {offset, into.size()};
        got = 0;
        for (const auto& [begin, end] : faults_.bad) {
            if (offset < end && begin < offset + into.size()) return false;
        }
        return inner_->read_at(offset, into, got);
    }

private:
    std::unique_ptr<byte_source> inner_;
    read_faults& faults_;
};
