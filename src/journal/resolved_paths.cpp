#include "journal/resolved_paths.h"

namespace {

// In UTF-16 units. Real paths are shorter; those that are not are made each time, so that no tree of directories can
// make texts that grow with the square of its depth.
constexpr std::size_t longest_kept_text = 256;

}  // namespace

std::uint32_t resolved_paths::add_path(const directory_path& path) {
    paths_.push_back({.path = path});
    return static_cast<std::uint32_t>(paths_.size() - 1);
}

void resolved_paths::note(std::uint32_t pair, std::uint32_t path, file_status status, const file_times& times) {
    outcomes_[pair] = {path, status};
    if (!times_.empty()) times_[pair] = times;
}

void resolved_paths::keep_directories(std::unique_ptr<const directory_path_cache> directories) {
    directories_ = std::move(directories);
    std::u16string text;
    for (std::size_t i = 1; i < paths_.size(); ++i) {
        directories_->compose(paths_[i].path, text);
        if (text.size() > longest_kept_text) continue;
        paths_[i].units = static_cast<std::uint32_t>(text.size());
        paths_[i].text = texts_.size();
        texts_ += text;
    }
}

void resolved_paths::fill(std::size_t arrival, journal_entry& entry) const {
    const std::uint32_t pair = pair_of_record_[arrival];
    const outcome& found = outcomes_[pair];
    entry.mft_parent_missing = found.status == file_status::parent_missing ? 1 : 0;
    entry.mft_entry_missing = found.status <= file_status::entry_missing ? 1 : 0;
    entry.mft_entry_remnant = found.status == file_status::remnant ? 1 : 0;
    entry.mft_entry_current = found.status == file_status::current ? 1 : 0;
    const file_times times = times_.empty() ? file_times{} : times_[pair];
    entry.si_created = times.created;
    entry.si_modified = times.modified;
    entry.si_mft_changed = times.mft_changed;
    entry.si_accessed = times.accessed;
    if (entry.path_number == found.path) return;
    entry.path_number = found.path;
    const kept_path& path = paths_[found.path];
    if (path.units != 0 || found.path == 0) {
        entry.parent_path.assign(texts_, path.text, path.units);
    } else {
        directories_->compose(path.path, entry.parent_path);
    }
}
