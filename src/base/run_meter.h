// base/run_meter.h: how long a run was in each phase and what it handled there, for -profile. One object lives for the
// run.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum class phase : std::uint8_t { read, decode, carve, resolve, order, write, history, report, none };

class run_meter {
public:
    // From here on phases are timed.
    void measure();
    [[nodiscard]] bool measuring() const { return measuring_; }

    // What the phase handled, more than before.
    void count(phase in, std::uint64_t records, std::uint64_t bytes);

    // "read: 0.25 secs, 10 records, 1000 bytes" for each phase, for those of path history and of the page only when
    // they handled anything; nothing when none was timed.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    friend class in_phase;
    using clock = std::chrono::steady_clock;

    struct tally {
        clock::duration time{};
        std::uint64_t records = 0;
        std::uint64_t bytes = 0;
    };

    // The result is the phase that ends.
    phase change_to(phase next);

    bool measuring_ = false;
    phase phase_ = phase::none;
    clock::time_point since_;
    std::array<tally, static_cast<std::size_t>(phase::none) + 1> tallies_;
};

// The run is in a phase for as long as this lives; one inside another interrupts it.
class in_phase {
public:
    in_phase(run_meter& meter, phase now) : meter_(meter), outer_(meter.measuring() ? meter.change_to(now) : now) {}
    ~in_phase() {
        if (meter_.measuring()) (void)meter_.change_to(outer_);
    }
    in_phase(const in_phase&) = delete;
    in_phase& operator=(const in_phase&) = delete;

private:
    run_meter& meter_;
    phase outer_;
};
