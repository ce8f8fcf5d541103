// storage/containers/chain_medium.h: a disk that a library puts together from an image and its parents.
#pragma once

#include "storage/containers/medium.h"

#include <utility>
#include <vector>

// `image` owns what its get() gives to `read_from`, the library's reading at an offset.
template <typename image, auto read_from>
class chain_medium final : public medium {
public:
    chain_medium(std::vector<image> chain, std::uint64_t size, std::size_t chunk_size)
        : chain_(std::move(chain)), size_(size), chunk_size_(chunk_size) {}
    ~chain_medium() override {
        while (!chain_.empty()) chain_.pop_back();  // a parent before its child
    }

    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t chunk_size() const override { return chunk_size_; }

    // The image that keeps the bytes is asked itself: a library may not know that those over it do not.
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t level) override {
        const auto got =
            read_from(chain_[level].get(), into.data(), into.size(), static_cast<std::int64_t>(offset), nullptr);
        return got >= 0 && static_cast<std::size_t>(got) == into.size();
    }

private:
    std::vector<image> chain_;  // the image, its parent, and so on
    std::uint64_t size_;
    std::size_t chunk_size_;
};
