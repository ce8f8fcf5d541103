// journal/journal_collection.h: every record of a run, in order of time stamp, equal ones in order of arrival. Filled
// by the walk and the carving passes, read once by the writers. Tens of millions of records must fit in memory: one
// cache line a record in order of arrival, names in one arena, nothing allocated per record, and an order computed only
// when the arrival was not in order.
#pragma once

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
    struct slot;
    struct keyed_arrival {
        std::uint64_t key;
        std::uint64_t arrival;
    };
    struct labelled_stretch {
        std::size_t first_arrival;
        std::string label;
    };

    [[nodiscard]] slot& slot_at(std::size_t arrival) const;
    [[nodiscard]] std::size_t arrival_at(std::size_t place) const;
    [[nodiscard]] const char16_t* name_at(const slot& of) const;
    void store_name(const std::u16string& name, slot& into);
    void note_label(const std::string& label);
    [[nodiscard]] const std::string& label_of(std::size_t arrival) const;
    void prefetch(std::size_t place) const;

    std::vector<std::unique_ptr<slot[]>> slots_;      // blocks of a fixed number of slots, in order of arrival
    std::vector<std::unique_ptr<char16_t[]>> names_;  // blocks of a fixed number of units; no name crosses a block
    std::size_t name_units_used_ = 0;                 // of the last block
    std::vector<labelled_stretch> labels_;            // where the shadow-copy label changes; few in any run
    std::vector<keyed_arrival> order_;                // empty: the order of arrival is the order
    std::unique_ptr<const resolved_paths> paths_;     // null: they were not asked for
    std::size_t count_ = 0;
    std::uint64_t last_key_ = 0;
    std::uint64_t lowest_key_ = ~std::uint64_t{0};  // of the keys that are not 0
    std::uint64_t highest_key_ = 0;
    bool arrived_in_order_ = true;
};
