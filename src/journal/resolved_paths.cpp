#include "journal/resolved_paths.h"

#include "base/utf.h"

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
        texts_.append(reinterpret_cast<const char*>(&length), sizeof length);
        texts_ += text;
    }
    for (outcome& one : outcomes_) one.text = places[one.path()];
}

std::string_view resolved_paths::kept_text(std::uint32_t place) const {
    std::uint16_t length = 0;
    std::memcpy(&length, &texts_[place], sizeof length);
    return {texts_.data() + place + sizeof length, length};
}

void resolved_paths::fill(std::uint32_t pair, journal_entry& entry) const {
    if (directories_ == nullptr) {
        entry.status = mft_status::unknown;
        entry.parent_path = {};
        entry.path_number = 0;
        return;
    }
    const outcome found = outcomes_[pair];
    entry.status = found.status();
    if (!times_.empty()) {
        const file_times& times = times_[pair];
        entry.index_created = times.created;
        entry.index_modified = times.modified;
        entry.index_mft_changed = times.mft_changed;
        entry.index_accessed = times.accessed;
    }
    entry.path_number = found.path();
    const bool kept = found.text != 0 || found.path() == 0;
    entry.parent_path = kept ? kept_text(found.text) : composed(found.path());
}
