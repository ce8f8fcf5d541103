// journal/repeat_filter.h: lets each record of a collection through once. Carving finds one record many times: in the
// journal, in shadow copies, in slack. The same are those that have every field the same, wherever they were found.
// They share their time, so only records of one time are compared, a few in any real journal; where a journal gives one
// time to many, a hash of eight bytes a record nominates them first.
#pragma once

#include "journal/journal_entry.h"
#include "journal/record_chain.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

class journal_collection;

class repeat_filter {
public:
    // The collection outlives the filter.
    explicit repeat_filter(const journal_collection& of) : of_(of) {}

    // The next record of `upstream` that is no repeat, null at the end. `upstream` yields the collection in its order,
    // null at its end; of the same records the first to arrive is let through. A record that is not valid has no fields
    // and repeats none.
    template <typename source>
    [[nodiscard]] const packed_record* next(const source& upstream) {
        while (place_ == group_.size()) {
            if (!take_group(upstream)) return nullptr;
        }
        return group_[place_++];
    }

    // Where else a record was found, every place once, in the order of arrival. To be asked for every record that
    // `next` let through, in that order. Replaces `out`.
    void fill_others(const packed_record* record, std::vector<found_elsewhere>& out);

    // How many were not let through.
    [[nodiscard]] std::uint64_t repeats() const { return repeats_; }

private:
    // Places are those in the group.
    struct nominee {
        std::uint32_t hash;
        std::uint32_t place;
    };
    struct same_places {
        std::uint32_t first;
        std::uint32_t other;

        friend auto operator<=>(const same_places&, const same_places&) = default;
    };
    struct repeat {
        const packed_record* first;
        const packed_record* other;
    };

    // All that share the next time, without repeats. False at the end.
    template <typename source>
    bool take_group(const source& upstream) {
        group_.clear();
        place_ = 0;
        const packed_record* record = ahead_ != nullptr ? ahead_ : upstream();
        ahead_ = nullptr;
        if (record == nullptr) return false;
        const std::uint64_t time = record->timestamp;
        for (; record != nullptr && record->timestamp == time && group_.size() < most_in_group; record = upstream()) {
            group_.push_back(record);
        }
        ahead_ = record;
        if (group_.size() > 1) drop_repeats();
        return true;
    }

    void drop_repeats();
    void compare_each();
    void compare_nominees();
    void drop(std::size_t first, std::size_t other);
    [[nodiscard]] int order(const packed_record& one, const packed_record& other) const;

    static constexpr std::size_t most_in_group = ~std::uint32_t{0};

    const journal_collection& of_;
    const packed_record* ahead_ = nullptr;     // the first of the next group
    std::vector<const packed_record*> group_;  // of one time; null for a repeat, until the group is done
    std::size_t place_ = 0;                    // in it
    std::vector<nominee> nominees_;
    std::vector<same_places> same_;
    std::vector<repeat> repeats_of_;  // in the order of the first ones
    std::size_t next_repeat_ = 0;     // that is asked for
    std::uint64_t repeats_ = 0;
};
