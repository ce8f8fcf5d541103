// journal/journal_collection.h: every record of a run, in order of time stamp, equal ones in order of arrival. Filled
// by the walk and the carving passes, read once by the writers. Tens of millions of records must fit in memory: fixed
// fields and name packed together, nothing allocated per record. Records that continue the order, as a journal's do,
// go into one chain; only those that arrive too late are kept apart and put in order.
#pragma once

#include "base/run_meter.h"
#include "journal/journal_entry.h"
#include "journal/kept_details.h"
#include "journal/record_chain.h"
#include "journal/reference_pairs.h"
#include "journal/repeat_filter.h"
#include "journal/stray_records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

    // Every record that is of the journal and was not carved, in no order.
    void for_each_of_journal(const std::function<void(const packed_record&)>& take) const;

    // Before the first record: numbers the pairs of parent and file as they come, for path resolution, which takes
    // them; null when they were not numbered. Marked are those with a record that does not call the file a directory.
    void number_pairs() { pairs_ = std::make_unique<reference_pairs>(); }
    [[nodiscard]] std::unique_ptr<reference_pairs> take_pairs() { return std::move(pairs_); }

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

// Goes through a collection in its order, once, while nothing is added.
class ordered_reader {
public:
    // `each_once`: of records that are the same but for where they were found the first to arrive, which tells the
    // others.
    ordered_reader(const journal_collection& from, run_meter& meter, bool each_once = false);

    // False at the end. `entry` keeps its buffers, so nothing is allocated once they have grown.
    [[nodiscard]] bool next(journal_entry& entry);

    // How many were left out so far.
    [[nodiscard]] std::uint64_t repeats() const { return repeats_ ? repeats_->repeats() : 0; }

private:
    struct keyed_record {
        std::uint64_t key;
        const packed_record* record;
    };

    struct upcoming_record {
        const packed_record* record = nullptr;
        std::uint32_t pair = 0;  // of path resolution
    };

    [[nodiscard]] upcoming_record look_ahead();
    [[nodiscard]] const packed_record* advance();
    [[nodiscard]] const packed_record* next_stray();
    void put_in_order(const record_chain& chain);
    void unpack(const upcoming_record& next, journal_entry& entry);
    [[nodiscard]] std::optional<std::uint64_t> journal_offset(const packed_record& record);

    const journal_collection& from_;
    run_meter& meter_;
    std::optional<repeat_filter> repeats_;  // none: every record is read
    std::vector<found_elsewhere> also_in_;  // of the entry that was read last
    record_chain::cursor chain_;
    const packed_record* in_order_;          // the next one of the chain, null at its end
    const packed_record* stray_ = nullptr;   // the next one of the strays, null at their end
    std::size_t next_chain_ = 0;               // of strays
    record_chain::cursor stray_chain_;           // when it arrived in order
    std::vector<keyed_record> stray_order_;  // when it did not
    std::vector<keyed_record> passed_;       // kept for the next such chain
    std::size_t stray_place_ = 0;            // in stray_order_

    // Those of the journal that have the time of the record at hand, in an order of their fields once it was asked for.
    std::vector<const packed_record*> same_time_;
    bool same_time_in_order_ = false;

    // The records that come next, so that memory is fetched before it is needed.
    std::array<upcoming_record, 32> upcoming_;
    std::size_t at_ = 0;  // of the one that is next
};
