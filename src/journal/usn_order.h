// journal/usn_order.h: a collection in order of USN, each record once: what a journal is, whatever its clock did. Takes
// 8 bytes a record, 16 for those that did not arrive in that order.
#pragma once

#include "journal/record_chain.h"
#include "journal/repeat_filter.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

class journal_collection;

class usn_order {
public:
    // The collection outlives the order, and nothing is added to it.
    explicit usn_order(const journal_collection& of);

    // Records whose fields make no sense have no USN and are left out; of the same ones the first to arrive is handed
    // out. Null at the end.
    [[nodiscard]] const packed_record* next();

    // The record that comes so many steps later, as far as that is known yet, for who fetches memory ahead of it: up to
    // 16 steps the record itself is on its way. Null at the end.
    [[nodiscard]] const packed_record* ahead(std::size_t steps) const {
        return at_ + steps < in_order_.size() ? in_order_[at_ + steps] : nullptr;
    }

    // Of the journal itself, not of what was carved. Null: there are none.
    struct bounds {
        const packed_record* first = nullptr;
        const packed_record* last = nullptr;
    };
    [[nodiscard]] const bounds& journal() const { return journal_; }

    [[nodiscard]] std::uint64_t unsound() const { return unsound_.size(); }

    // Whether such a one arrived between two that follow each other.
    [[nodiscard]] bool unsound_between(std::uint64_t arrival, std::uint64_t next_arrival) const;

private:
    struct keyed_record {
        std::int64_t usn;
        const packed_record* record;
    };

    void take_late(std::size_t sorted);
    void find_bounds();
    [[nodiscard]] const packed_record* advance();

    std::vector<const packed_record*> in_order_;  // as they arrived, as far as that is the order
    std::vector<keyed_record> late_;              // all behind the first that is not
    std::vector<std::uint64_t> unsound_;          // by arrival
    std::size_t at_ = 0;
    std::size_t late_at_ = 0;
    bounds journal_;
    std::optional<repeat_filter> repeats_;  // none: no two have the same USN
};
