// journal/block_array.h: a sequence of plain values that only grows, in blocks that never move: nothing is copied when
// it does.
#pragma once

#include "platform/platform.h"

#include <cstddef>
#include <type_traits>
#include <vector>

template <typename T>
class block_array {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>);

public:
    static constexpr std::size_t per_block = platform::memory_block::large_page / sizeof(T);

    // How many values there is room for. Values are what was last written there, nothing before.
    [[nodiscard]] std::size_t capacity() const { return blocks_.size() * per_block; }
    void add_block() { blocks_.emplace_back(platform::memory_block::large_page); }

    [[nodiscard]] T& operator[](std::size_t at) const {
        return static_cast<T*>(blocks_[at / per_block].data())[at % per_block];
    }

private:
    std::vector<platform::memory_block> blocks_;
};
