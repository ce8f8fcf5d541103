// journal/text_slots.h: room for short texts that are read in no order and now and then replaced. Each begins a cache
// line, and all lie in large pages: most cost one line, and looking up its address next to nothing.
#pragma once

#include "platform/platform.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

class text_slots {
public:
    static constexpr std::size_t longest = 512;  // bytes

    struct slot {
        char* place = nullptr;
        std::uint16_t size = 0;  // bytes of its text
        std::uint16_t room = 0;  // bytes

        [[nodiscard]] std::string_view text() const { return {place, size}; }
    };

    // Puts a text of at most `longest` bytes in a slot instead of the one that is there. Rooms are doubled, so those
    // that became too small take no more than the last one.
    void put(std::string_view text, slot& into) {
        if (into.room < text.size() || into.room == 0)
            into = {.place = take(room_for(text.size())), .room = room_for(text.size())};
        if (!text.empty()) std::memcpy(into.place, text.data(), text.size());
        into.size = static_cast<std::uint16_t>(text.size());
    }

private:
    static constexpr std::size_t cache_line = 64;

    [[nodiscard]] static std::uint16_t room_for(std::size_t size) {
        return static_cast<std::uint16_t>(std::bit_ceil(std::max(size, cache_line)));
    }

    [[nodiscard]] char* take(std::size_t size) {
        constexpr std::size_t block = platform::memory_block::large_page;
        if (left_ < size) {
            blocks_.emplace_back(block);
            left_ = block;
        }
        left_ -= size;
        return static_cast<char*>(blocks_.back().data()) + left_;
    }

    std::vector<platform::memory_block> blocks_;
    std::size_t left_ = 0;  // bytes, in the last one
};
