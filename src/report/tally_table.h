// report/tally_table.h: counts by kind for each of many things that a number stands for: files, directories,
// extensions, minutes. 56 to 72 bytes each.
#pragma once

#include "journal/block_array.h"
#include "report/change_kind.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace report {

// A factor that no journal can aim at: drawn anew whenever it is asked for.
[[nodiscard]] std::uint64_t drawn_factor();

// Spreads a number over 64 bits.
[[nodiscard]] constexpr std::uint64_t mixed(std::uint64_t number, std::uint64_t factor) {
    const std::uint64_t product = (number ^ number >> 32U) * factor;
    return (product ^ product >> 29U) * factor;
}

struct mixing_hash {
    std::uint64_t factor = drawn_factor();
    std::size_t operator()(std::uint64_t number) const {
        return static_cast<std::size_t>(mixed(number, factor) >> 16U);
    }
};

struct tally {
    std::uint64_t key;
    const packed_record* latest;  // of the thing, where whoever counts keeps it
    kind_counts counts;
    std::uint32_t mark;  // likewise; 0 at first
};

class tally_table {
public:
    // `most`: how many things it takes.
    explicit tally_table(std::size_t most = ~std::uint32_t{0} / 2);

    // The one of a number, made when it is not there. It stays where it is. Null when there is no room for it.
    [[nodiscard]] tally* of(std::uint64_t key);

    // Null when it is not there.
    [[nodiscard]] const tally* find(std::uint64_t key) const {
        const std::uint32_t found = index_[slot_of(key)];
        return found == 0 ? nullptr : &tallies_[found - 1];
    }

    // What `of` will read first, and some steps later what it will read then, to be fetched ahead.
    [[nodiscard]] const void* index_place(std::uint64_t key) const { return &index_[place_of_key(key)]; }
    [[nodiscard]] const void* tally_place(std::uint64_t key) const {
        const std::uint32_t found = index_[place_of_key(key)];
        return found == 0 ? nullptr : &tallies_[found - 1];
    }

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] tally& operator[](std::size_t at) const { return tallies_[at]; }

private:
    [[nodiscard]] std::size_t place_of_key(std::uint64_t key) const {
        return static_cast<std::size_t>(mixed(key, factor_) >> shift_);
    }
    // Where a key stands or would stand.
    [[nodiscard]] std::size_t slot_of(std::uint64_t key) const {
        std::size_t at = place_of_key(key);
        while (index_[at] != 0 && tallies_[index_[at] - 1].key != key) at = (at + 1) & (index_.size() - 1);
        return at;
    }
    void grow();

    block_array<tally> tallies_;
    std::vector<std::uint32_t> index_;  // one more than the place; 0: none. At most a quarter full
    unsigned shift_;
    std::size_t size_ = 0;
    std::size_t most_;
    std::uint64_t factor_;
};

}  // namespace report
