// journal/journal_collection.h: every record of a run, in order of time stamp, equal ones in order of arrival. Filled
// by the walk and the carving passes, read once, by an ordered_reader. Tens of millions of records must fit in memory:
// fixed fields and name packed together, nothing allocated per record. Records that continue the order, as a journal's
// do, go into one chain; only those that arrive too late are kept apart and put in order.
#pragma once

#include "journal/journal_entry.h"
#include "journal/kept_details.h"
#include "journal/record_chain.h"
#include "journal/stray_records.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class reference_pairs;
class resolved_paths;

class journal_collection {
public:
    journal_collection();
    ~journal_collection();
    journal_collection(const journal_collection&) = delete;
    journal_collection& operator=(const journal_collection&) = delete;

    // Packs a copy of what a decoder and the run's pass marks set. The key is the time stamp: 0 for version 4 and for
    // records that failed a check. Of a name the first 255 units are kept, as many as a name on NTFS can have.
    void add(const journal_entry& entry);

    [[nodiscard]] std::size_t size() const { return count_; }

    // Every record, in no order.
    void for_each(const std::function<void(const packed_record&)>& take) const;

    // Those that are of the journal and were not carved.
    void for_each_of_journal(const std::function<void(const packed_record&)>& take) const;

    // Before the first record: numbers the pairs of parent and file as they come, for path resolution, which takes
    // them; null when they were not numbered. Marked are those with a record that does not call the file a directory.
    void number_pairs();
    [[nodiscard]] std::unique_ptr<reference_pairs> take_pairs();

    // What path resolution found out about the records that are here; readers hand it on. Adding afterwards makes it
    // stale.
    void keep_paths(std::unique_ptr<const resolved_paths> paths);
    [[nodiscard]] bool has_paths() const { return paths_ != nullptr; }

private:
    friend class ordered_reader;
    friend class repeat_filter;

    struct labelled_stretch {
        std::uint64_t first_arrival;
        std::string label;
    };

    void note_label(std::string_view label);
    [[nodiscard]] std::string_view label_of(std::uint64_t arrival) const;

    chunk_pool pool_;
    record_chain in_order_;
    stray_records strays_;
    bool any_carved_ = false;
    kept_details details_;
    std::vector<labelled_stretch> labels_;         // where the shadow-copy label changes; few in any run
    std::unique_ptr<reference_pairs> pairs_;       // null: they are not numbered
    std::unique_ptr<const resolved_paths> paths_;  // null: they were not asked for
    std::size_t count_ = 0;
};
