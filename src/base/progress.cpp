#include "base/progress.h"

#include <string>
#include <utility>

namespace {

constexpr std::chrono::milliseconds between_words{200};

}  // namespace

void progress::show_with(sink lines, sink words) {
    lines_ = std::move(lines);
    words_ = std::move(words);
    next_word_at_ = clock::now() + between_words;
}

void progress::show_percent(std::uint64_t current, std::uint64_t total) {
    if (total == 0 || !wanted()) return;
    if (!percent_started_) {
        percent_started_ = true;
        percent_step_ = static_cast<std::uint64_t>(static_cast<double>(total) * 0.05);
        percent_threshold_ = percent_step_;
    }
    if (current < percent_threshold_) return;
    percent_threshold_ += percent_step_;
    const double percent = static_cast<double>(current) / static_cast<double>(total) * 100;
    show("percent done: " + std::to_string(static_cast<std::uint64_t>(percent)));
}

void progress::tell(std::string_view what, std::uint64_t done, std::uint64_t total, std::string_view unit) {
    if (words_ == nullptr) return;
    const clock::time_point now = clock::now();
    if (now < next_word_at_) return;
    next_word_at_ = now + between_words;
    word_shown_ = true;
    words_(std::string(what) + ": " + std::to_string(done) + " of " + std::to_string(total) + " " + std::string(unit));
}

void progress::wipe() {
    if (std::exchange(word_shown_, false) && words_ != nullptr) words_("");
}
