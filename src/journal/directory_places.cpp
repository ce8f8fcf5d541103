#include "journal/directory_places.h"

#include "base/file_reference.h"
#include "journal/usn_text.h"
#include "ntfs/mft_record.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t most_places = 0xFFFFFFFF;

// Any sequence number leads to the root.
std::uint64_t whole_reference(std::uint64_t reference) {
    constexpr std::uint64_t root_reference = file_reference(root_entry_number, root_entry_number);
    return entry_number(reference) == root_entry_number ? root_reference : reference;
}

// Freeing an entry counts its sequence number up; 0 is left out.
std::uint16_t sequence_before(std::uint16_t sequence) {
    constexpr std::uint16_t highest = 0xFFFF;
    return sequence <= 1 ? highest : static_cast<std::uint16_t>(sequence - 1);
}

bool is_text_of(byte_view name, std::u16string_view text) {
    return name.size() == text.size() * sizeof(char16_t) &&
           std::memcmp(name.bytes().data(), text.data(), name.size()) == 0;
}

}  // namespace

// ---- Filling --------------------------------------------------------------------------------------------------------

directory_places::directory_places() : entries_(1), waiting_(16) { (void)number_of(root_entry_number); }

std::uint32_t directory_places::number_of(std::uint64_t reference) {
    reference = whole_reference(reference);
    const auto [number, is_new] = numbers_.number_of(reference);
    if (is_new) directories_.push_back({.reference = reference});
    return number;
}

const char16_t* directory_places::name_store::keep(byte_view name) {
    constexpr std::size_t block = 32768;
    const std::size_t units = name.size() / sizeof(char16_t);
    if (left_ < units) {
        blocks_.push_back(std::make_unique<char16_t[]>(block));
        left_ = block;
    }
    if (units == 0) return nullptr;
    char16_t* const kept = blocks_.back().get() + (block - left_);
    std::memcpy(kept, name.bytes().data(), units * sizeof(char16_t));
    left_ -= units;
    return kept;
}

std::uint8_t directory_places::marks_of(std::uint32_t reason) {
    const bool created = (reason & (usn_reason::file_create | usn_reason::file_delete)) == usn_reason::file_create;
    const bool deleted = (reason & usn_reason::file_delete) != 0 && (reason & usn_reason::close) != 0;
    return static_cast<std::uint8_t>((created ? begins : 0) | (deleted ? ends : 0));
}

// Directories lie anywhere in memory, and each step tells where the next one leads.
void directory_places::add(const directory_witness& witness) {
    constexpr std::size_t lead = 2;  // one record in ten is about a directory
    waiting_witness& one = waiting(came_++);
    __builtin_prefetch(numbers_.first_place_of(whole_reference(witness.directory)));
    one.witness = witness;
    one.stretch_begin = stretches_.latest_begin();
    std::ranges::copy(witness.name.bytes(), one.name.begin());
    if (came_ - looked_up_ > lead) look_up(waiting(looked_up_++));
    if (looked_up_ - with_place_ > lead) {
        if (const place* const latest = latest_place(waiting(with_place_++)); latest != nullptr) {
            __builtin_prefetch(&latest->first);
            __builtin_prefetch(&latest->marks);  // often in the next cache line
        }
    }
    if (with_place_ - with_name_ > lead) {
        if (const place* const latest = latest_place(waiting(with_name_++)); latest != nullptr) {
            __builtin_prefetch(latest->name);
            __builtin_prefetch(&directories_[latest->parent]);
        }
    }
    if (with_name_ - taken_ > lead) take(waiting(taken_++));
}

void directory_places::look_up(waiting_witness& one) {
    one.number = number_of(one.witness.directory);
    __builtin_prefetch(&directories_[one.number]);
}

directory_places::place* directory_places::latest_place(const waiting_witness& one) {
    const known_directory& directory = directories_[one.number];
    return directory.places == 0 ? nullptr : &places_[directory.first_place];
}

void directory_places::take(const waiting_witness& one) {
    directory_witness witness = one.witness;
    witness.name = byte_view(std::span(one.name).first(witness.name.size()));
    place* const latest = latest_place(one);
    if (latest == nullptr || !continues(*latest, one)) {
        put(witness, witness.usn, 0);
        return;
    }
    latest->last = witness.usn;
    latest->marks = static_cast<std::uint8_t>(latest->marks | (marks_of(witness.reason) & ends));
}

void directory_places::take_waiting() {
    while (looked_up_ != came_) look_up(waiting(looked_up_++));
    while (taken_ != came_) take(waiting(taken_++));
    with_place_ = with_name_ = came_;
}

bool directory_places::continues(const place& latest, const waiting_witness& one) const {
    const directory_witness& witness = one.witness;
    const bool new_life = latest.is(ends) && (marks_of(witness.reason) & begins) != 0;
    return latest.last >= one.stretch_begin && !new_life &&
           directories_[latest.parent].reference == whole_reference(witness.parent) &&
           is_text_of(byte_view(std::span(one.name).first(witness.name.size())), latest.text());
}

void directory_places::put(const directory_witness& witness, std::int64_t last, std::uint8_t marks) {
    const std::uint32_t number = number_of(witness.directory);
    const std::uint32_t parent = number_of(witness.parent);
    if (number == root || places_.size() == most_places) return;
    directories_[number].first_place = static_cast<std::uint32_t>(places_.size());
    ++directories_[number].places;
    places_.push_back({.first = witness.usn,
                       .last = last,
                       .name = names_.keep(witness.name),
                       .directory = number,
                       .parent = parent,
                       .units = static_cast<std::uint8_t>(witness.name.size() / sizeof(char16_t)),
                       .marks = static_cast<std::uint8_t>(marks | marks_of(witness.reason))});
}

// ---- Once all records are there -------------------------------------------------------------------------------------

void directory_places::finish(const mft_testimony* mft) {
    take_waiting();
    waiting_ = {};
    order_by_directory();
    std::uint32_t kept = 0;
    for (known_directory& one : directories_) settle(one, kept);
    places_.resize(kept);
    if (mft != nullptr) ask_mft(*mft);
}

// Puts each behind those of its directory that came before.
void directory_places::order_by_directory() {
    std::uint32_t begin = 0;
    for (known_directory& one : directories_) {
        one.first_place = begin;
        begin += std::exchange(one.places, 0);
    }
    std::vector<place> ordered(places_.size());
    for (const place& next : places_) {
        known_directory& one = directories_[next.directory];
        ordered[one.first_place + one.places++] = next;
    }
    places_ = std::move(ordered);
}

// Moves the places of a directory to `kept` on, in order of their USNs, and finds out where its reference was used
// again.
void directory_places::settle(known_directory& one, std::uint32_t& kept) {
    const auto given = std::span(places_).subspan(one.first_place, one.places);
    if (!std::ranges::is_sorted(given, {}, &place::first)) std::ranges::stable_sort(given, {}, &place::first);
    one.first_place = kept;
    bool dead = false;
    for (place next : given) {
        if (next.is(carved)) {
            if (!stretches_.fits_a_gap(next.first, next.last)) continue;
            next.last = next.first;
        }
        place* const last = kept == one.first_place ? nullptr : &places_[kept - 1];
        const bool new_life = dead && next.is(begins);
        dead = (dead && !new_life) || next.is(ends);
        if (last != nullptr && !new_life && joins(*last, next)) {
            last->last = std::max(last->last, next.last);
            last->marks = static_cast<std::uint8_t>(last->marks | (next.marks & ends));
            continue;
        }
        if (last != nullptr && last->last >= next.first) {  // records of two journals, or given late: which came last?
            last->marks = static_cast<std::uint8_t>(last->marks | carved);
            next.marks = static_cast<std::uint8_t>(next.marks | carved);
        }
        if (new_life) next.marks = static_cast<std::uint8_t>(next.marks | life_begins);
        places_[kept++] = next;
    }
    one.places = kept - one.first_place;
}

// Whether nothing can lie between two that say the same, or nothing that would count.
bool directory_places::joins(const place& last, const place& next) const {
    if (last.is(carved) != next.is(carved) || last.parent != next.parent || last.text() != next.text()) return false;
    return next.is(carved) || last.last >= stretches_.around(next.first).from;
}

// An MFT says nothing that would be taken where no gap and no carved record is and a record of the directory.
void directory_places::ask_mft(const mft_testimony& mft) {
    const bool records_tell_all = stretches_.in_one_piece() && !any_carved_;
    bool asked = false;
    mft_witness found;
    origin_ = mft.origin;
    for (std::uint32_t number = root + 1; number < directories_.size(); ++number) {
        const known_directory& one = directories_[number];
        if (records_tell_all && one.places != 0) continue;
        if (!std::exchange(asked, true) && origin_ == mft_origin::exported) moment_ = mft.moment();
        if (!mft.ask(entry_number(one.reference), found) || found.name.empty()) continue;
        const std::uint16_t sequence = found.in_use ? found.sequence : sequence_before(found.sequence);
        if (sequence == sequence_number(one.reference)) keep_entry(number, found);
    }
}

void directory_places::keep_entry(std::uint32_t directory, const mft_witness& found) {
    const byte_view name = view_of(std::u16string_view(found.name).substr(0, 0xFF));
    const std::uint32_t parent = number_of(found.parent);
    directories_[directory].entry = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back({found.last_usn,
                        {names_.keep(name), name.size() / sizeof(char16_t)},
                        parent,
                        found.in_use,
                        is_outdated(directories_[directory], found.last_usn)});
}

// Whether a record before the MFT's moment is later than the last one that the entry knows of.
bool directory_places::is_outdated(const known_directory& directory, std::int64_t last_usn) const {
    const auto told = std::span(places_).subspan(directory.first_place, directory.places);
    return last_usn != 0 && std::ranges::any_of(told, [&](const place& one) {
               return !one.is(carved) && one.first > last_usn &&
                      (origin_ == mft_origin::volume || one.first <= moment_);
           });
}

// ---- The place of a directory ---------------------------------------------------------------------------------------

// The witnesses in their order: the last record before and the first one behind, when nothing was lost in between; the
// MFT as far as it is exact; the same two records across a gap; the MFT.
directory_places::answer directory_places::place_at(std::uint32_t directory, std::int64_t usn) const {
    const journal_stretches::span now = stretches_.around(usn);
    const known_directory& asked = directories_[directory];
    const auto places = std::span(places_).subspan(asked.first_place, asked.places);
    const auto next = std::ranges::upper_bound(places, usn, {}, &place::first);
    const place* const before = next == places.begin() ? nullptr : &*std::prev(next);
    const place* const behind = next == places.end() || next->is(life_begins) ? nullptr : &*next;
    const mft_place* const entry = asked.entry != 0 ? &entries_[asked.entry] : nullptr;

    answer found{.from = now.from, .to = now.to};
    if (before != nullptr) found.from = std::max(found.from, before->first);
    if (next != places.end()) found.to = std::min(found.to, next->first);
    const auto tell = [&](std::u16string_view name, std::uint32_t parent, path_basis basis) {
        found.name = name;
        found.parent = parent;
        found.basis = basis;
        return found;
    };
    const auto told_by = [&](const place& one, path_basis basis) { return tell(one.text(), one.parent, basis); };
    if (now.whole && before != nullptr && !before->is(carved) && before->last >= now.from) {
        return told_by(*before, path_basis::exact);
    }
    if (now.whole && behind != nullptr && !behind->is(carved) && behind->first < now.to) {
        return told_by(*behind, path_basis::exact);
    }
    if (entry != nullptr && tells_exactly(*entry, usn, now, found)) {
        return tell(entry->name, entry->parent, path_basis::exact);
    }
    if (before != nullptr) return told_by(*before, path_basis::likely);
    if (behind != nullptr) return told_by(*behind, path_basis::likely);
    if (entry == nullptr) return found;
    return tell(entry->name, entry->parent, entry->in_use ? path_basis::likely : path_basis::remnant);
}

// Whether an entry is of the moment that is asked about: it did not change since. Narrows `found` to where that holds.
bool directory_places::tells_exactly(const mft_place& entry, std::int64_t usn, const journal_stretches::span& now,
                                     answer& found) const {
    if (!entry.in_use || entry.outdated || origin_ == mft_origin::rebuilt) return false;
    if (entry.last_usn == 0) return origin_ == mft_origin::volume && stretches_.reaches_end(now);
    if (usn < entry.last_usn) {
        found.to = std::min(found.to, entry.last_usn);
        return false;
    }
    found.from = std::max(found.from, entry.last_usn);
    if (origin_ == mft_origin::volume) return true;
    if (usn <= moment_) {
        found.to = std::min(found.to, moment_ + 1);
        return true;
    }
    found.from = std::max(found.from, moment_ + 1);
    return now.whole && moment_ >= now.from;
}
