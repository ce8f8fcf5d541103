// journal/past_paths.h: the path that each record's directory had when the record was written, found while the records
// are read in their order. Nothing is kept for a record. Made by path resolution, owned by its results.
#pragma once

#include "journal/gathered_history.h"
#include "journal/journal_entry.h"
#include "journal/path_history.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

class past_paths {
public:
    struct resolved_text {
        std::string_view text;
        bool stays = false;  // where it is
    };

    // The places of all directories that will be asked for have numbers. The MFT is asked here and not afterwards;
    // null: there is none.
    past_paths(std::unique_ptr<gathered_history> told, const mft_testimony* mft, bool with_surrogates);

    // Gives an entry the path that its directory had, and that of now where it is another one. `now`: its number, 0 for
    // none; `text_of_now` is called where it is needed. `journal_offset`: the reported offset of the record in the
    // journal; none for one that stands nowhere in it.
    template <typename text_maker>
    void fill(std::uint32_t directory, std::optional<std::uint64_t> journal_offset, std::uint32_t now,
              const text_maker& text_of_now, journal_entry& entry) {
        entry.path_now = {};
        if (entry.valid == 0) {  // of which nothing is known
            entry.parent_path = {};
            entry.path_number = 0;
            entry.basis = path_basis::partial;
            return;
        }
        path_history::past_path& then = history_.path_at(directory, entry.usn);
        const bool at_best_likely = !journal_offset || told_->is_doubtful(*journal_offset);
        entry.parent_path = then.text;
        entry.path_number = then.number;
        entry.basis = at_best_likely ? std::max(then.basis, path_basis::likely) : then.basis;
        entry.path_now_number = now;
        if (now != 0) entry.path_now = other_path(then, now, text_of_now);
    }

    // See path_history.
    [[nodiscard]] const void* step_place(std::uint32_t directory) const { return history_.step_place(directory); }
    [[nodiscard]] std::string_view text_place(std::uint32_t directory) const { return history_.text_place(directory); }
    [[nodiscard]] std::string_view compared_place(std::uint32_t directory) const {
        return history_.compared_place(directory);
    }

private:
    // The path of now, empty when it is the same. Texts of less than 512 bytes stay where they are, so what is found
    // out of them is kept.
    template <typename text_maker>
    [[nodiscard]] std::string_view other_path(path_history::past_path& then, std::uint32_t now,
                                              const text_maker& text_of_now) {
        path_history::comparison& known = then.compared;
        if (known.number == now) return {known.text, known.size};
        const resolved_text text = text_of_now();
        const std::string_view other = text.text == then.text ? std::string_view{} : text.text;
        if (text.stays) known = {other.data(), static_cast<std::uint32_t>(other.size()), now};
        return other;
    }

    std::unique_ptr<gathered_history> told_;
    path_history history_;
};
