// journal/past_paths.h: the path that each record's directory had when the record was written, found while the records
// are read in their order. Nothing is kept for a record. Made by path resolution, owned by the collection.
#pragma once

#include "journal/gathered_history.h"
#include "journal/journal_entry.h"
#include "journal/path_history.h"
#include "journal/reference_pairs.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

class past_paths {
public:
    // `pairs`: all of the run, in order of parent. The MFT is asked here and not afterwards; null: there is none.
    past_paths(std::unique_ptr<gathered_history> told, std::span<const numbered_pair> pairs, const mft_testimony* mft,
               bool with_surrogates);

    // Replaces the path of an entry by the one that it had, and keeps the other as the path of now where they differ.
    // `journal_offset`: the reported offset of the record in the journal; none for one that stands nowhere in it.
    void fill(std::uint32_t pair, std::optional<std::uint64_t> journal_offset, journal_entry& entry);

    // What `fill` will read first, and then, and then, to be fetched ahead.
    [[nodiscard]] const void* directory_place(std::uint32_t pair) const { return &directories_[pair]; }
    [[nodiscard]] const void* step_place(std::uint32_t pair) const { return history_->step_place(directories_[pair]); }
    [[nodiscard]] const void* text_holder(std::uint32_t pair) const {
        return history_->text_holder(directories_[pair]);
    }
    [[nodiscard]] const char* text_place(std::uint32_t pair) const { return history_->text_place(directories_[pair]); }

private:
    std::unique_ptr<gathered_history> told_;
    std::vector<std::uint32_t> directories_;  // by pair: the number of the parent
    std::optional<path_history> history_;
};
