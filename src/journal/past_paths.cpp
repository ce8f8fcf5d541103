#include "journal/past_paths.h"

#include <algorithm>
#include <utility>

past_paths::past_paths(std::unique_ptr<gathered_history> told, std::span<const numbered_pair> pairs,
                       const mft_testimony* mft, bool with_surrogates)
    : told_(std::move(told)), directories_(pairs.size()) {
    told_->end_walk();
    told_->meter().count(phase::history, pairs.size(), 0);
    directory_places& places = told_->places();
    std::uint64_t parent = 0;
    std::uint32_t number = 0;
    for (const numbered_pair& one : pairs) {
        if (&one == pairs.data() || one.pair.parent != parent) {
            parent = one.pair.parent;
            number = places.number_of(parent);
        }
        directories_[one.number] = number;
    }
    places.finish(mft);
    history_.emplace(std::move(places), with_surrogates);
}

void past_paths::fill(std::uint32_t pair, std::optional<std::uint64_t> journal_offset, journal_entry& entry) {
    const std::string_view now = entry.status == mft_status::parent_gone ? std::string_view{} : entry.parent_path;
    const std::uint32_t now_number = entry.path_number;
    if (entry.valid == 0) {  // of which nothing is known
        entry.parent_path = {};
        entry.path_number = 0;
        entry.basis = path_basis::partial;
        entry.path_now = {};
        return;
    }
    const path_history::past_path then = history_->path_at(directories_[pair], entry.usn);
    const bool at_best_likely = !journal_offset || told_->is_doubtful(*journal_offset);
    entry.parent_path = then.text;
    entry.path_number = then.number;
    entry.basis = at_best_likely ? std::max(then.basis, path_basis::likely) : then.basis;
    entry.path_now = now == then.text ? std::string_view{} : now;
    entry.path_now_number = now_number;
}
