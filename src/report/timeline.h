// report/timeline.h: records by kind over time: bars over the span of the journal, and hours by days. Times come in
// their order.
#pragma once

#include "report/change_kind.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace report {

inline constexpr std::size_t most_bars = 240;

// Times are FILETIMEs.
struct time_span {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

// The width of bars, in FILETIME units: the least round one of which at most `most_bars` cover a span.
[[nodiscard]] std::uint64_t width_of_bars(const time_span& over);

class bar_chart {
public:
    bar_chart() = default;
    explicit bar_chart(const time_span& over);

    void add(std::uint64_t time, change_kind kind) {
        if (time < over_.first || time > over_.last) {
            ++(time < over_.first ? before_ : behind_);
            return;
        }
        while (time >= bar_end_ && bar_ + 1 < bars_.size()) {
            ++bar_;
            bar_end_ += width_;
        }
        ++bars_[bar_][place_of(kind)];
    }

    [[nodiscard]] const std::vector<kind_counts>& bars() const { return bars_; }
    [[nodiscard]] std::uint64_t width() const { return width_; }
    [[nodiscard]] std::uint64_t begin_of(std::size_t bar) const { return begin_ + bar * width_; }
    [[nodiscard]] std::uint64_t before() const { return before_; }  // records that lie outside of the span
    [[nodiscard]] std::uint64_t behind() const { return behind_; }

private:
    time_span over_;
    std::uint64_t width_ = 1;
    std::uint64_t begin_ = 0;
    std::vector<kind_counts> bars_;
    std::size_t bar_ = 0;
    std::uint64_t bar_end_ = 0;
    std::uint64_t before_ = 0;
    std::uint64_t behind_ = 0;
};

class day_hours {
public:
    struct day {
        std::uint64_t begin = 0;  // FILETIME
        std::array<std::uint32_t, 24> hours{};
    };

    void add(std::uint64_t time) {
        if (days_.empty() || time - days_.back().begin >= ticks_per_day) add_day(time / ticks_per_day * ticks_per_day);
        ++days_.back().hours[static_cast<std::size_t>((time - days_.back().begin) / ticks_per_hour)];
    }

    // The last ones that have records.
    [[nodiscard]] const std::deque<day>& days() const { return days_; }
    [[nodiscard]] std::uint64_t left_out() const { return left_out_; }  // days before those

    static constexpr std::size_t most_days = 60;

private:
    static constexpr std::uint64_t ticks_per_hour = 36'000'000'000;
    static constexpr std::uint64_t ticks_per_day = 24 * ticks_per_hour;

    void add_day(std::uint64_t begin);

    std::deque<day> days_;
    std::uint64_t left_out_ = 0;
};

}  // namespace report
