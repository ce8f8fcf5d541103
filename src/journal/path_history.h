// journal/path_history.h: the path that a file had when its record was written, and how sure that is: the place of its
// directory at the record's USN, climbed to the root at that same USN. A journal changes directories seldom, so each
// keeps its latest path with the USNs for which it holds; a record that falls between them costs two comparisons.
#pragma once

#include "journal/directory_places.h"
#include "journal/text_slots.h"
#include "platform/platform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class path_history {
public:
    // A text that the latest path of a directory was compared with, because the same is asked for every record; empty
    // when it is the same path.
    struct comparison {
        const char* text = nullptr;
        std::uint32_t size = 0;
        std::uint32_t number = 0;  // 0: with none
    };

    // The path of a directory and the USNs from `from` on and below `to` for which it is good: all that most records
    // need, in one cache line.
    struct alignas(64) past_path {
        std::string_view text{};  // UTF-8, ends with "\\"; inside, null until it is asked for
        std::int64_t from = 0;
        std::int64_t to = 0;
        std::uint32_t number = 0;  // the same text has the same one as long as it holds; 0 for one that is not kept
        path_basis basis = path_basis::exact;
        comparison compared{};

        [[nodiscard]] bool holds_at(std::int64_t usn) const { return usn >= from && usn < to; }
    };

    // `places` are finished. `with_surrogates`: those without a partner stay in the texts, see base/utf.h.
    path_history(directory_places places, bool with_surrogates);

    // The path of a directory, by its number in the places, at a USN. Holds until the next question.
    [[nodiscard]] past_path& path_at(std::uint32_t directory, std::int64_t usn) {
        past_path& known = steps_[directory];
        return known.text.data() != nullptr && known.holds_at(usn) ? known : find_path(directory, usn);
    }

    // What path_at will read first, and then, to be fetched ahead.
    [[nodiscard]] const void* step_place(std::uint32_t directory) const { return &steps_[directory]; }
    [[nodiscard]] std::string_view text_place(std::uint32_t directory) const {
        const std::string_view text = steps_[directory].text;
        return text.data() != nullptr ? text : no_place(directory);
    }
    [[nodiscard]] std::string_view compared_place(std::uint32_t directory) const {
        const comparison& compared = steps_[directory].compared;
        return compared.text != nullptr ? std::string_view(compared.text, compared.size) : no_place(directory);
    }

private:
    static constexpr std::size_t most_levels = 256;

    // The way from a directory to the one above.
    struct way_up {
        std::u16string_view name;  // empty: the path begins here
        std::uint32_t parent = directory_places::root;
        std::uint16_t levels = 0;  // names on the path
    };

    struct kept_text {
        text_slots::slot slot;
        std::uint32_t number = 0;
    };

    struct level {
        std::uint32_t directory = 0;
        directory_places::answer place;
    };

    // Something that is there, for a text that is not.
    [[nodiscard]] std::string_view no_place(std::uint32_t directory) const {
        return {reinterpret_cast<const char*>(&steps_[directory]), 1};  // NOLINT(*-reinterpret-cast): only fetched
    }
    [[nodiscard]] past_path& find_path(std::uint32_t directory, std::int64_t usn);
    [[nodiscard]] bool climb(std::uint32_t directory, std::int64_t usn);
    void note_step(const level& from);
    [[nodiscard]] past_path& text_of(std::uint32_t directory, std::int64_t usn);
    [[nodiscard]] past_path& not_kept(path_basis basis);
    void keep_text(std::uint32_t directory);
    [[nodiscard]] past_path& endless_path(std::uint32_t directory, std::int64_t usn);
    void append_beginning(std::uint32_t directory);

    void append_name(std::u16string_view name);

    directory_places places_;
    bool with_surrogates_;
    platform::memory_block memory_;  // large pages, because records come to it in no order
    std::span<past_path> steps_;     // in it, by directory
    std::vector<way_up> ways_;       // by directory
    std::vector<kept_text> texts_;   // by directory
    text_slots slots_;
    std::array<level, most_levels> chain_;
    std::array<std::uint32_t, most_levels> way_{};
    std::string composed_;       // the latest text that was made
    past_path not_kept_;         // of which that is the text
    std::uint32_t numbers_ = 0;  // given out
    level endless_;              // of which composed_ is the path, while its name is not empty
};
