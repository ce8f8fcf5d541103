// report/ranking.h: the first of many, kept while they are counted.
#pragma once

#include "report/tally_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace report {

inline constexpr std::size_t most_listed = 30;

struct ranked_tally {
    tally* of = nullptr;
    std::string text;

    [[nodiscard]] std::uint64_t records() const { return sum_of(of->counts); }
};

// Those with the most records, which it marks. Counts only grow, one at a time, so that whoever belongs here comes by
// when it does.
class ranking {
public:
    // After a count of `one` has grown. `text` is called for one that comes in.
    template <typename text_maker>
    void note(tally& one, const text_maker& text) {
        if (one.mark != 0) return;
        const std::uint64_t records = sum_of(one.counts);
        if (records <= lowest_) return;
        if (listed_.size() < most_listed) {
            put(listed_.emplace_back(), one, text());
            return;
        }
        const auto last = std::ranges::min_element(listed_, {}, &ranked_tally::records);
        lowest_ = last->records();
        if (records <= lowest_) return;
        last->of->mark = 0;
        put(*last, one, text());
    }

    [[nodiscard]] std::vector<ranked_tally> take() {
        std::ranges::stable_sort(listed_, std::ranges::greater(), &ranked_tally::records);
        return std::move(listed_);
    }

private:
    static void put(ranked_tally& place, tally& one, std::string text) {
        one.mark = 1;
        place = {&one, std::move(text)};
    }

    std::vector<ranked_tally> listed_;
    std::uint64_t lowest_ = 0;  // of a full list: nothing that has no more comes in
};

// The largest by a key of 64 bits, the rest counted.
template <typename thing, std::size_t most = most_listed>
class largest {
public:
    void add(std::uint64_t key, const thing& one) {
        ++count_;
        if (kept_.size() < most) {
            kept_.push_back({key, one});
            return;
        }
        if (key <= lowest_) return;
        const auto last = std::ranges::min_element(kept_, {}, &keyed::key);
        lowest_ = last->key;
        if (key > lowest_) *last = {key, one};
    }

    [[nodiscard]] std::uint64_t count() const { return count_; }

    // In the order of `by`.
    template <typename projection>
    [[nodiscard]] std::vector<thing> in_order(const projection& by) const {
        std::vector<thing> out;
        for (const keyed& one : kept_) out.push_back(one.value);
        std::ranges::stable_sort(out, {}, by);
        return out;
    }

private:
    struct keyed {
        std::uint64_t key;
        thing value;
    };

    std::vector<keyed> kept_;
    std::uint64_t lowest_ = 0;
    std::uint64_t count_ = 0;
};

}  // namespace report
