// base/progress.h: what a long step says of itself while it runs, on the one line that is redrawn. Whoever does long
// work is handed one; where nobody wants to see it, it has nowhere to show and costs nothing. One object serves a run.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

class progress {
public:
    using sink = std::function<void(std::string_view line)>;

    // From here on the passes' lines go to `lines`, and a word a few times a second, for whoever waits at a terminal,
    // to `words`. Null: nowhere.
    void show_with(sink lines, sink words);
    void say_no_more_words() { words_ = nullptr; }

    // Whether the passes' lines are seen.
    [[nodiscard]] bool wanted() const { return lines_ != nullptr; }

    // One line of a pass.
    void show(std::string_view text) const {
        if (lines_ != nullptr) lines_(text);
    }

    // "percent done: n", whenever `current` has passed another twentieth of `total`. The step is fixed by the first
    // call, so one object serves one such task.
    void show_percent(std::uint64_t current, std::uint64_t total);

    // "what: done of total unit", when the last such word is a fifth of a second old. May be called often; for every
    // record would be too often.
    void tell(std::string_view what, std::uint64_t done, std::uint64_t total, std::string_view unit);

    void tell_bytes(std::string_view what, std::uint64_t done, std::uint64_t total) {
        tell(what, done >> 20U, total >> 20U, "MiB");
    }

    // Takes the last word away, if there is one.
    void wipe();

private:
    using clock = std::chrono::steady_clock;

    sink lines_;
    sink words_;
    clock::time_point next_word_at_;
    bool word_shown_ = false;
    bool percent_started_ = false;
    std::uint64_t percent_step_ = 0;
    std::uint64_t percent_threshold_ = 0;
};
