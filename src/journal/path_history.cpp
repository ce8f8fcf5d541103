#include "journal/path_history.h"

#include "base/file_reference.h"
#include "base/utf.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <span>
#include <utility>

namespace {

// In bytes. Real paths are shorter; those that are not are made each time, so that no tree of directories can make
// texts that grow with the square of its depth.

}  // namespace

path_history::path_history(directory_places places, bool with_surrogates)
    : places_(std::move(places)),
      with_surrogates_(with_surrogates),
      memory_(places_.size() * sizeof(past_path)),
      steps_(static_cast<past_path*>(memory_.data()), places_.size()),
      ways_(places_.size()),
      texts_(places_.size()) {
    std::uninitialized_default_construct(steps_.begin(), steps_.end());
    past_path& root = steps_[directory_places::root];
    root.from = std::numeric_limits<std::int64_t>::min();
    root.to = std::numeric_limits<std::int64_t>::max();
}

void path_history::append_name(std::u16string_view name) {
    with_surrogates_ ? append_utf8_with_surrogates(name, composed_) : append_utf8(name, composed_);
    composed_ += '\\';
}

path_history::past_path& path_history::find_path(std::uint32_t directory, std::int64_t usn) {
    if (!steps_[directory].holds_at(usn) && !climb(directory, usn)) return endless_path(directory, usn);
    return text_of(directory, usn);
}

// Up to the first directory whose path is known for this USN, then down again. False, and nothing is known anew, when
// the path does not end within the levels that are allowed.
bool path_history::climb(std::uint32_t directory, std::int64_t usn) {
    std::size_t height = 0;
    std::uint32_t at = directory;
    while (!steps_[at].holds_at(usn)) {
        if (height == most_levels) return false;
        level& now = chain_[height++];
        now = {at, places_.place_at(at, usn)};
        if (now.place.name.empty()) break;
        at = now.place.parent;
    }
    if (steps_[at].holds_at(usn) && ways_[at].levels + height > most_levels) return false;
    while (height != 0) note_step(chain_[--height]);
    return true;
}

// The path of the parent is known.
void path_history::note_step(const level& from) {
    const directory_places::answer& place = from.place;
    past_path made{.from = place.from, .to = place.to, .basis = place.basis};
    way_up way{.name = place.name, .parent = place.parent};
    if (!place.name.empty()) {
        const past_path& above = steps_[place.parent];
        made.from = std::max(made.from, above.from);
        made.to = std::min(made.to, above.to);
        made.basis = std::max(made.basis, above.basis);
        way.levels = static_cast<std::uint16_t>(ways_[place.parent].levels + 1);
    }
    ways_[from.directory] = way;
    steps_[from.directory] = made;
}

// ---- Text -----------------------------------------------------------------------------------------------------------

// Of a path that is known at this USN. Those above may have been asked about another one since: their ways are found
// again then, and are the same as when this one was found.
path_history::past_path& path_history::text_of(std::uint32_t directory, std::int64_t usn) {
    const path_basis basis = steps_[directory].basis;
    if (steps_[directory].text.data() == nullptr) {
        std::size_t height = 0;
        std::uint32_t at = directory;
        for (; !ways_[at].name.empty() && steps_[at].text.data() == nullptr; at = ways_[at].parent) {
            way_[height++] = at;
            if (!steps_[ways_[at].parent].holds_at(usn)) (void)climb(ways_[at].parent, usn);
        }
        composed_.clear();
        endless_.directory = directory_places::root;
        if (steps_[at].text.data() != nullptr) {
            composed_ = steps_[at].text;
        } else {
            append_beginning(at);
        }
        while (height != 0) append_name(ways_[way_[--height]].name);
        if (composed_.size() > text_slots::longest) return not_kept(basis);
        keep_text(directory);
    }
    return steps_[directory];
}

path_history::past_path& path_history::not_kept(path_basis basis) {
    not_kept_ = {.text = composed_, .basis = basis};
    return not_kept_;
}

void path_history::keep_text(std::uint32_t directory) {
    kept_text& kept = texts_[directory];
    if (kept.number == 0 || kept.slot.text() != composed_) {
        slots_.put(composed_, kept.slot);
        kept.number = ++numbers_;
    }
    steps_[directory].text = kept.slot.text();
    steps_[directory].number = kept.number;
}

// A path that comes back to itself, or is deeper than any, is cut off there.
path_history::past_path& path_history::endless_path(std::uint32_t directory, std::int64_t usn) {
    if (endless_.directory != directory || usn < endless_.place.from || usn >= endless_.place.to) {
        std::size_t height = 0;
        std::uint32_t at = directory;
        const auto came_by = [&] {
            return std::ranges::any_of(std::span(chain_).first(height),
                                       [at](const level& one) { return one.directory == at; });
        };
        endless_ = {directory, {}};
        endless_.place.from = std::numeric_limits<std::int64_t>::min();
        endless_.place.to = std::numeric_limits<std::int64_t>::max();
        for (; height < most_levels && !came_by(); at = chain_[height++].place.parent) {
            chain_[height] = {at, places_.place_at(at, usn)};
            endless_.place.from = std::max(endless_.place.from, chain_[height].place.from);
            endless_.place.to = std::min(endless_.place.to, chain_[height].place.to);
        }
        composed_.clear();
        append_beginning(at);
        while (height != 0) append_name(chain_[--height].place.name);
    }
    return not_kept(path_basis::partial);
}

void path_history::append_beginning(std::uint32_t directory) {
    if (directory == directory_places::root) {
        composed_ += "[root]\\";
        return;
    }
    composed_ += "[unknown " + reference_text(places_.reference_of(directory)) + "]\\";
}
