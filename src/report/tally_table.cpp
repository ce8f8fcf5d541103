#include "report/tally_table.h"

#include <chrono>

namespace report {
namespace {

constexpr unsigned first_bits = 10;

}  // namespace

std::uint64_t drawn_factor() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return std::mt19937_64(static_cast<std::uint64_t>(now))() | 1U;
}

tally_table::tally_table(std::size_t most)
    : index_(std::size_t{1} << first_bits), shift_(64 - first_bits), most_(most), factor_(drawn_factor()) {}

tally* tally_table::of(std::uint64_t key) {
    const std::size_t at = slot_of(key);
    if (index_[at] != 0) return &tallies_[index_[at] - 1];
    if (size_ == most_) return nullptr;
    if (size_ == tallies_.capacity()) tallies_.add_block();
    tally& made = tallies_[size_];
    made = {.key = key, .latest = nullptr, .counts = {}, .mark = 0};
    index_[at] = static_cast<std::uint32_t>(++size_);
    if (size_ * 4 > index_.size()) grow();
    return &made;
}

void tally_table::grow() {
    index_.assign(index_.size() * 2, 0);
    --shift_;
    for (std::size_t i = 0; i < size_; ++i) {
        index_[slot_of(tallies_[i].key)] = static_cast<std::uint32_t>(i + 1);
    }
}

}  // namespace report
