#include "journal/resolved_paths.h"

#include "base/utf.h"

#include <array>
#include <bit>
#include <cstring>

namespace {

// In bytes. Real paths are shorter; those that are not are made each time, so that no tree of directories can
// make texts that grow with the square of its depth.
constexpr std::size_t longest_kept_text = 512;
constexpr std::size_t most_kept_bytes = std::size_t{1} << 32U;

}  // namespace

std::uint32_t resolved_paths::add_path(const directory_path& path) {
    paths_.push_back(path);
    return static_cast<std::uint32_t>(paths_.size() - 1);
}

void resolved_paths::note(std::uint32_t pair, std::uint32_t path, mft_status status, const file_times& times) {
    outcomes_[pair] = {0, path << 2U | static_cast<std::uint32_t>(status)};
    if (!times_.empty()) times_[pair] = times;
}

std::string_view resolved_paths::composed(std::uint32_t path) const {
    if (path != composed_path_) {
        std::u16string text;
        directories_->compose(paths_[path], text);
        composed_.clear();
        if (with_surrogates_) {
            append_utf8_with_surrogates(text, composed_);
        } else {
            append_utf8(text, composed_);
        }
        composed_path_ = path;
    }
    return composed_;
}

void resolved_paths::keep_directories(std::unique_ptr<const directory_path_cache> directories, bool with_surrogates) {
    with_surrogates_ = with_surrogates;
    directories_ = std::move(directories);
    std::vector<std::uint32_t> places(paths_.size());
    texts_.assign(sizeof(std::uint16_t), '\0');
    for (std::size_t i = 1; i < paths_.size(); ++i) {
        const std::string_view text = composed(static_cast<std::uint32_t>(i));
        if (text.size() > longest_kept_text || texts_.size() > most_kept_bytes - 2 - longest_kept_text) continue;
        places[i] = static_cast<std::uint32_t>(texts_.size());
        const auto length = static_cast<std::uint16_t>(text.size());
        const auto digits = std::bit_cast<std::array<char, sizeof length>>(length);
        texts_.append(digits.data(), digits.size());
        texts_ += text;
    }
    if (past_ != nullptr) {
        text_places_ = std::move(places);
    } else {
        for (outcome& one : outcomes_) one.text = places[one.path()];
    }
}

std::string_view resolved_paths::kept_text(std::uint32_t place) const {
    std::uint16_t length = 0;
    std::memcpy(&length, &texts_[place], sizeof length);
    return {texts_.data() + place + sizeof length, length};
}

std::string_view resolved_paths::text_of(std::uint32_t path, std::uint32_t place) const {
    return place != 0 || path == 0 ? kept_text(place) : composed(path);
}

void resolved_paths::keep_past(std::unique_ptr<gathered_history> told, std::span<const numbered_pair> pairs,
                               const mft_testimony* mft, bool with_surrogates) {
    const std::uint64_t* parent = nullptr;
    std::uint32_t number = 0;
    for (const numbered_pair& one : pairs) {
        if (parent == nullptr || *parent != one.pair.parent) number = told->places().number_of(one.pair.parent);
        parent = &one.pair.parent;
        outcomes_[one.number].text = number;
    }
    past_ = std::make_unique<past_paths>(std::move(told), mft, with_surrogates);
}

void resolved_paths::fill(std::uint32_t pair, std::optional<std::uint64_t> journal_offset, journal_entry& entry) const {
    const outcome found = outcomes_[pair];
    entry.status = directories_ == nullptr ? mft_status::unknown : found.status();
    if (!times_.empty()) {
        const file_times& times = times_[pair];
        entry.index_created = times.created;
        entry.index_modified = times.modified;
        entry.index_mft_changed = times.mft_changed;
        entry.index_accessed = times.accessed;
    }
    if (past_ != nullptr) {
        const auto text_of_now = [&]() -> past_paths::resolved_text {
            const std::uint32_t place = text_places_[found.path()];
            return {text_of(found.path(), place), place != 0};
        };
        past_->fill(found.text, journal_offset, found.path(), text_of_now, entry);
        return;
    }
    entry.path_number = found.path();
    entry.parent_path = text_of(found.path(), found.text);
}
