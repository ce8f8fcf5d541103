#include "ntfs/directory_path.h"

#include "base/file_reference.h"
#include "ntfs/file_name.h"

#include <algorithm>

namespace {

constexpr std::u16string_view root_text = u"[root]\\";
constexpr std::u16string_view corrupted_text = u"<path corrupted>\\";

// A record's sequence number counts up when its file is deleted; references still carry the one before.
std::uint16_t effective_sequence(const mft_entry& entry) {
    return !entry.in_use() && entry.sequence != 0 ? static_cast<std::uint16_t>(entry.sequence - 1) : entry.sequence;
}

}  // namespace

bool directory_path_cache::build_directory_path(std::uint64_t reference, directory_path& path) {
    path = directory_path{};
    if (reference == ~std::uint64_t{0}) return false;
    if (entry_number(reference) == root_entry_number) return true;
    ++walk_;
    path.corrupted = climb(reference, path) == step::corrupted;
    return true;
}

// The walk itself; `good` when it came to the root.
directory_path_cache::step directory_path_cache::climb(std::uint64_t reference, directory_path& path) {
    std::uint32_t units = static_cast<std::uint32_t>(root_text.size());
    std::uint32_t below = none;
    for (;;) {
        std::uint32_t number = below == none ? none : directories_[below].parent_number;
        if (number == none) {
            const step found = find_or_load(reference, number);
            if (found != step::good) return found;
            if (below != none) directories_[below].parent_number = number;
        }
        if (below == none) path.directory = number;
        cached_directory& current = directories_[number];
        (sequence_number(reference) == 0 ? current.unsequenced_walk : current.walk) = walk_;
        if (current.steps_to_root != 0 && current.units_to_root <= longest_path - units) {
            path.steps += current.steps_to_root;
            note_way_to_root(path);
            return step::good;
        }
        if (current.name_units == 0 || current.name_units >= longest_path - units) return step::corrupted;
        units += current.name_units + 1U;
        ++path.steps;
        if (current.parent == current.reference || visited(current)) return step::corrupted;
        reference = current.parent;
        if (entry_number(reference) == root_entry_number) break;
        below = number;
    }
    note_way_to_root(path);
    return step::good;
}

// Whether this walk came to the parent of a directory before, by the same reference.
bool directory_path_cache::visited(const cached_directory& from) const {
    std::uint32_t parent = from.parent_number;
    if (parent == none) {
        const auto found = numbers_.find(reference_order(from.parent));
        if (found == numbers_.end()) return false;
        parent = found->second;
    }
    const cached_directory& above = directories_[parent];
    return (sequence_number(from.parent) == 0 ? above.unsequenced_walk : above.walk) == walk_;
}

// For every directory of a path that leads to the root, so that none of them is walked from again.
void directory_path_cache::note_way_to_root(const directory_path& path) {
    std::uint32_t number = path.directory;
    std::uint32_t units = 0;
    std::uint32_t walked = 0;
    while (walked < path.steps && directories_[number].steps_to_root == 0) {
        units += directories_[number].name_units + 1U;
        if (++walked < path.steps) number = directories_[number].parent_number;
    }
    if (walked < path.steps) units += directories_[number].units_to_root;
    number = path.directory;
    for (std::uint32_t i = 0; i < walked; ++i) {
        cached_directory& current = directories_[number];
        current.steps_to_root = path.steps - i;
        current.units_to_root = units;
        units -= current.name_units + 1U;
        number = current.parent_number;
    }
}

directory_path_cache::step directory_path_cache::find_or_load(std::uint64_t reference, std::uint32_t& number) {
    const auto found = numbers_.find(reference_order(reference));
    if (found == numbers_.end()) return load(reference, number);
    number = found->second;
    return step::good;
}

directory_path_cache::step directory_path_cache::load(std::uint64_t reference, std::uint32_t& number) {
    mft_entry entry;
    source_->log().line("... trying to resolve [next] parent subdir ...");
    if (!source_->load_entry(entry_number(reference), entry)) return step::unreadable;
    if (!entry.is_directory()) return step::corrupted;
    const std::uint16_t sequence = effective_sequence(entry);
    if (sequence_number(reference) != 0 && sequence_number(reference) != sequence) return step::corrupted;
    number = keep(file_reference(entry.number, sequence), entry);
    return step::good;
}

std::uint32_t directory_path_cache::keep(std::uint64_t reference, const mft_entry& entry) {
    const auto [place, is_new] =
        numbers_.try_emplace(reference_order(reference), static_cast<std::uint32_t>(directories_.size()));
    if (!is_new) return place->second;
    const std::u16string name = name_of_entry(entry);
    cached_directory made;
    made.reference = reference;
    made.parent = first_parent(entry);
    made.name_place = names_.size();
    made.name_units = static_cast<std::uint8_t>(name.size());
    directories_.push_back(made);
    names_ += name;
    return place->second;
}

void directory_path_cache::compose(const directory_path& path, std::u16string& out) const {
    const auto for_each = [&](auto&& use) {
        std::uint32_t number = path.directory;
        for (std::uint32_t i = 0; i < path.steps; ++i) {
            const cached_directory& current = directories_[number];
            if (const auto name = name_of(current); name != u".") use(name);
            number = current.parent_number;
        }
    };
    std::size_t length = 0;
    for_each([&](std::u16string_view name) { length += name.size() + 1; });
    out.assign(root_text);
    if (path.corrupted) out.append(corrupted_text);
    std::size_t end = out.size() + length;
    out.resize(end, u'\\');
    for_each([&](std::u16string_view name) {
        end -= name.size() + 1;
        std::ranges::copy(name, out.begin() + static_cast<std::ptrdiff_t>(end));
    });
}
