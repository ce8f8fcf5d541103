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
    bool tells_beginnings = false;                             // it gives what lies before the bad place
    std::size_t reads = 0;
    std::pair<std::uint64_t, std::size_t> last;  // offset and length of the latest read
};

class memory_source final : public byte_source {
public:
    explicit memory_source(std::vector<std::uint8_t> content, std::uint32_t alignment = 1, bool tells_size = true,
                           read_faults* faults = nullptr,
                           std::vector<std::pair<std::uint64_t, std::uint64_t>> data = {})
        : content_(std::move(content)),
          alignment_(alignment),
          tells_size_(tells_size),
          faults_(faults),
          data_(std::move(data)) {}

    [[nodiscard]] std::uint64_t size() const override { return tells_size_ ? content_.size() : 0; }
    [[nodiscard]] std::uint32_t alignment() const override { return alignment_; }
    [[nodiscard]] bool read_at(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) override {
        got = 0;
        if (offset % alignment_ != 0 || into.size() % alignment_ != 0) return false;
        const std::size_t readable = readable_at(offset, into.size());
        const bool whole = readable == into.size();
        if (offset >= content_.size()) return whole;
        got = std::min(readable, content_.size() - static_cast<std::size_t>(offset));
        std::memcpy(into.data(), content_.data() + offset, got);
        return whole;
    }
    [[nodiscard]] bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const override {
        if (data_.empty()) return byte_source::next_data(offset, begin, end);
        const auto next = std::ranges::find_if(data_, [&](const auto& one) { return offset < one.second; });
        if (next == data_.end()) return false;
        begin = std::max(offset, next->first);
        end = next->second;
        return true;
    }

private:
    // How many bytes a read gives; less than `length`: it fails.
    [[nodiscard]] std::size_t readable_at(std::uint64_t offset, std::size_t length) {
        if (faults_ == nullptr) return length;
        ++faults_->reads;
        faults_->last = {offset, length};
        for (const auto& [begin, end] : faults_->bad) {
            if (offset >= end || begin >= offset + length) continue;
            return faults_->tells_beginnings && begin > offset ? static_cast<std::size_t>(begin - offset) : 0;
        }
        return length;
    }

    std::vector<std::uint8_t> content_;
    std::uint32_t alignment_;
    bool tells_size_;
    read_faults* faults_;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> data_;  // not empty: what lies between is a hole
};
