// base/run_meter.h: what a run is doing: how long it was in each phase and what it handled there, for -profile, and a
// word about it a few times a second, for whoever waits in front of a terminal. One object lives for the run.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

enum class phase : std::uint8_t { read, decode, carve, resolve, order, write, none };

class run_meter {
public:
    using redraw_sink = std::function<void(std::string_view line)>;

    // From here on phases are timed.
    void measure();
    [[nodiscard]] bool measuring() const { return measuring_; }

    // From here on `tell` redraws a line with `sink`; with none, nothing is shown any more.
    void redraw_with(redraw_sink sink);

    // What the phase handled, more than before.
    void count(phase in, std::uint64_t records, std::uint64_t bytes);

    // "what: done of total unit", when the last such line is a fifth of a second old. May be called often; for every
    // record would be too often.
    void tell(const char* what, std::uint64_t done, std::uint64_t total, const char* unit);

    void tell_bytes(const char* what, std::uint64_t done, std::uint64_t total) {
        tell(what, done >> 20U, total >> 20U, "MiB");
    }

    // Takes the line away, if there is one.
    void wipe();

    // "read: 0.25 secs, 10 records, 1000 bytes" for each phase; nothing when none was timed.
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

    redraw_sink redraw_;
    clock::time_point redraw_at_;
    bool line_shown_ = false;
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
