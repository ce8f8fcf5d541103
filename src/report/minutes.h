// report/minutes.h: how many records of each kind every minute has (UTC), and the minutes that stand out.
#pragma once

#include "base/filetime.h"
#include "report/change_kind.h"
#include "report/ranking.h"
#include "report/tally_table.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace report {

inline constexpr std::uint64_t ticks_per_minute = 60 * ticks_per_second;

// Minutes of one kind that each have at least `fewest` records and `times_median` times the median of the kind over the
// minutes that have any, one behind the other.
struct burst {
    static constexpr std::uint64_t fewest = 100;
    static constexpr std::uint64_t times_median = 10;

    change_kind kind = change_kind::other;
    std::uint64_t begin = 0;  // FILETIME
    std::uint64_t end = 0;    // the first behind it
    std::uint64_t records = 0;
};

struct found_bursts {
    std::vector<burst> listed;  // those with the most records, in order of time
    std::uint64_t left_out = 0;
    std::array<double, kinds> medians{};  // 0 for a kind without records
    bool minutes_left_out = false;        // there were too many to look at
};

class minute_counts {
public:
    // A record with its time, in any order.
    void add(std::uint64_t time, change_kind kind) {
        const std::uint64_t minute = time / ticks_per_minute;
        if (latest_ == nullptr || latest_->key != minute) {
            tally* const found = minutes_.of(minute);
            if (found == nullptr) {
                left_out_ = true;
                return;
            }
            latest_ = found;
        }
        ++latest_->counts[place_of(kind)];
    }

    [[nodiscard]] found_bursts bursts() const;

private:
    static constexpr std::size_t most_minutes = std::size_t{1} << 20U;  // two years of them

    tally_table minutes_{most_minutes};
    tally* latest_ = nullptr;
    bool left_out_ = false;
};

}  // namespace report
