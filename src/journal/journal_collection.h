// journal/journal_collection.h: every record of a run, in order of time stamp, equal ones in order of arrival. Filled
// by the walk and the carving passes, read once by the writers. Tens of millions of records must fit in memory: one
// cache line a record in order of arrival, names in one arena, nothing allocated per record, and an order computed only
// when the arrival was not in order.
#pragma once

#include "journal/block_array.h"
#include "journal/journal_entry.h"
#include "journal/reference_pairs.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class resolved_paths;

class journal_collection {
public:
    journal_collection();
    ~journal_collection();
    journal_collection(const journal_collection&) = delete;
    journal_collection& operator=(const journal_collection&) = delete;

    // Packs a copy of what a decoder and the run's pass marks set. The key is the time stamp: 0 for version 4 and for
    // records that failed a check. Of a name the first 255 units are kept; decoders yield at most 200.
    void add(const journal_entry& entry);

    [[nodiscard]] std::size_t size() const { return count_; }

    // Parent and file of the record that arrived as number `arrival`, from 0 on.
    [[nodiscard]] reference_pair references_at(std::size_t arrival) const;

    // What path resolution found out about the records that are here; `read_in_order` hands it on. Adding afterwards
    // makes it stale.
    void keep_paths(std::unique_ptr<const resolved_paths> paths);

    // Fixes the order for `read_in_order`; adding afterwards makes it stale.
    void put_in_order();

    // The entry at `place` (0 to size() - 1) of the order. `entry` keeps its buffers, so nothing is allocated once they
    // have grown.
    void read_in_order(std::size_t place, journal_entry& entry) const;

private:
    // One record, one cache line. The name's place counts units over all name blocks: 2^48 units are more than memory
    // holds.
    struct alignas(64) slot {
        std::uint64_t file_ref;
        std::uint64_t parent_ref;
        std::int64_t usn;
        std::uint64_t timestamp;
        std::uint64_t record_offset;
        std::uint32_t reason;
        std::uint32_t source_info;
        std::uint32_t security_id;
        std::uint32_t file_attributes;
        std::uint32_t name_place_low;
        std::uint16_t name_place_high;
        std::uint8_t name_units;
        std::uint8_t marks;
    };
    struct keyed_arrival {
        std::uint64_t key;
        std::uint64_t arrival;
    };
    struct labelled_stretch {
        std::size_t first_arrival;
        std::string label;
    };

    [[nodiscard]] std::size_t arrival_at(std::size_t place) const;
    [[nodiscard]] const char16_t* name_at(const slot& of) const;
    void store_name(const std::u16string& name, slot& into);
    void note_label(const std::string& label);
    [[nodiscard]] const std::string& label_of(std::size_t arrival) const;

    block_array<slot> slots_;      // in order of arrival
    block_array<char16_t> names_;  // no name crosses a block
    std::size_t name_units_used_ = 0;
    std::vector<labelled_stretch> labels_;         // where the shadow-copy label changes; few in any run
    platform::memory_block order_;                 // count_ times keyed_arrival
    bool ordered_ = false;                         // false: the order of arrival is the order
    std::unique_ptr<const resolved_paths> paths_;  // null: they were not asked for
    std::size_t count_ = 0;
    std::uint64_t last_key_ = 0;
    std::uint64_t lowest_key_ = ~std::uint64_t{0};  // of the keys that are not 0
    std::uint64_t highest_key_ = 0;
    bool arrived_in_order_ = true;
};
