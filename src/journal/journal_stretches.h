// journal/journal_stretches.h: the stretches of a journal that came through without a gap, in USNs. Made by the walk
// that reads a journal for what it tells of directories, asked by them whether anything can have been lost between two
// USNs.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

class journal_stretches {
public:
    // A stretch or the gap between two, USNs from `from` on and below `to`.
    struct span {
        std::int64_t from = std::numeric_limits<std::int64_t>::min();
        std::int64_t to = std::numeric_limits<std::int64_t>::max();
        bool whole = false;  // a stretch
    };

    // Filling: a record that follows nothing, and how far the latest stretch reaches.
    void begin(std::int64_t usn, std::int64_t end) { stretches_.push_back({usn, end}); }
    void extend(std::int64_t end) { stretches_.back().end = end; }
    [[nodiscard]] std::int64_t latest_begin() const { return stretches_.back().begin; }

    // Once all are there. Stretches that overlap are of more than one journal: where they lie is as good as a gap.
    // `end_seen`: nothing was lost behind the last record.
    void settle(bool end_seen);

    // After that.
    [[nodiscard]] span around(std::int64_t usn) const;
    [[nodiscard]] bool reaches_end(const span& of) const { return of.whole && end_seen_ && of.to == end(); }
    [[nodiscard]] bool fits_a_gap(std::int64_t usn, std::int64_t end) const;
    [[nodiscard]] bool in_one_piece() const { return stretches_.size() == 1; }

private:
    struct stretch {
        std::int64_t begin, end;
    };

    [[nodiscard]] std::int64_t end() const { return stretches_.empty() ? 0 : stretches_.back().end; }

    std::vector<stretch> stretches_;
    bool end_seen_ = false;
};
