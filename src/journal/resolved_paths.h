// journal/resolved_paths.h: what path resolution found out, kept beside the records: a number a record, a few bytes for
// every pair of parent and file, the names of directories once. Made by resolve_journal_paths, owned by the collection.
#pragma once

#include "journal/block_array.h"
#include "journal/journal_entry.h"
#include "journal/past_paths.h"
#include "journal/reference_pairs.h"
#include "ntfs/directory_listing.h"
#include "ntfs/directory_path.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class resolved_paths {
public:
    // `pairs`: how many there are; all have lost their parent until something else is noted. Times only when asked for.
    resolved_paths(block_array<std::uint32_t> pair_of_record, std::size_t pairs, bool with_times)
        : pair_of_record_(std::move(pair_of_record)), outcomes_(pairs), times_(with_times ? pairs : 0), paths_(1) {}

    // A number for a path, which many pairs share.
    [[nodiscard]] std::uint32_t add_path(const directory_path& path);

    void note(std::uint32_t pair, std::uint32_t path, mft_status status, const file_times& times);

    [[nodiscard]] mft_status status_of(std::uint32_t pair) const { return outcomes_[pair].status(); }

    // The paths that files had, where they are asked for; before the directories. `pairs`: all, in order of parent.
    void keep_past(std::unique_ptr<gathered_history> told, std::span<const numbered_pair> pairs,
                   const mft_testimony* mft, bool with_surrogates);
    [[nodiscard]] bool has_past() const { return past_ != nullptr; }

    // What composes the paths; without an MFT there is nothing. The last thing to be given. `with_surrogates`: those
    // without a partner stay in the texts, see base/utf.h.
    void keep_directories(std::unique_ptr<const directory_path_cache> directories, bool with_surrogates);

    // The pair of the record that arrived as number `arrival`.
    [[nodiscard]] std::uint32_t pair_of(std::size_t arrival) const { return pair_of_record_[arrival]; }

    // Gives an entry path, status and times of its pair; the path that its directory had when there is a past. Then
    // `journal_offset` counts, see past_paths.
    void fill(std::uint32_t pair, std::optional<std::uint64_t> journal_offset, journal_entry& entry) const;

    // What `fill` will read first, and then, to be fetched ahead. With a past the step comes between. All are places
    // that exist: to look up one that does not costs each time.
    [[nodiscard]] const void* outcome_place(std::uint32_t pair) const { return &outcomes_[pair]; }
    [[nodiscard]] const void* step_place(std::uint32_t pair) const { return past_->step_place(outcomes_[pair].text); }
    [[nodiscard]] std::string_view text_place(std::uint32_t pair) const {
        const std::uint32_t place = outcomes_[pair].text;
        return past_ != nullptr ? past_->text_place(place) : std::string_view(texts_.data() + place, most_text);
    }
    [[nodiscard]] std::string_view text_now_place(std::uint32_t pair) const {
        return past_->compared_place(outcomes_[pair].text);
    }
    [[nodiscard]] const void* times_place(std::uint32_t pair) const {
        return times_.empty() ? outcome_place(pair) : &times_[pair];
    }

private:
    static constexpr std::size_t most_text = 64;  // bytes, of most paths

    [[nodiscard]] std::string_view composed(std::uint32_t path) const;
    [[nodiscard]] std::string_view text_of(std::uint32_t path, std::uint32_t place) const;

    // Small, because records come to them in no order.
    struct outcome {
        std::uint32_t text = 0;  // where the path's kept text begins; with a past the parent's number there
        std::uint32_t path_and_status = 0;

        [[nodiscard]] std::uint32_t path() const { return path_and_status >> 2U; }
        [[nodiscard]] mft_status status() const { return static_cast<mft_status>(path_and_status & 3U); }
    };

    [[nodiscard]] std::string_view kept_text(std::uint32_t place) const;

    block_array<std::uint32_t> pair_of_record_;
    std::vector<outcome> outcomes_;
    std::vector<file_times> times_;
    std::vector<directory_path> paths_;  // the first stands for no path
    std::string texts_;                  // UTF-8, each behind its length in two bytes; the first is empty
    std::unique_ptr<const directory_path_cache> directories_;  // null: there was no MFT
    std::unique_ptr<past_paths> past_;
    bool with_surrogates_ = false;
    std::vector<std::uint32_t> text_places_;  // with a past: by path, where its kept text begins
    mutable std::string composed_;            // the latest text that is not kept
    mutable std::uint32_t composed_path_ = 0;
};
