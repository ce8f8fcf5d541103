#include "ntfs/index_slack.h"

#include "ntfs/file_name.h"
#include "ntfs/index_node.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t word_size = sizeof(std::uint64_t);
constexpr std::size_t fixed_size = index_entry::key + file_name_value::name;
constexpr std::size_t least_named_entry = 84;  // bytes
constexpr std::size_t times_size = 4 * word_size;

// FILETIMEs of 1986-01-01 and 2100-01-01: what lies between is taken for a time of a file.
constexpr std::uint64_t earliest_time = 121'493'952'000'000'000;
constexpr std::uint64_t latest_time = 157'469'184'000'000'000;

// Of the four times in an entry, where each stands.
constexpr std::array<std::size_t, 4> time_places{
    index_entry::key + file_name_value::created, index_entry::key + file_name_value::modified,
    index_entry::key + file_name_value::mft_changed, index_entry::key + file_name_value::accessed};

bool looks_like_entry(byte_view at, std::uint8_t longest_name) {
    const auto length = at.value<std::uint16_t>(index_entry::length);
    const auto key_length = at.value<std::uint16_t>(index_entry::key_length);
    const auto flags = at.value<std::uint16_t>(index_entry::flags);
    if (at.fits(0, index_entry::key) && at.value<std::uint64_t>(index_entry::reference) == 0 &&
        length == index_entry::key && key_length == 0 && flags == index_entry::flag_last) {
        return true;  // the entry that ends a node
    }
    byte_view key;
    if (!at.fits(0, fixed_size) || !at.sub(index_entry::key, file_name_value::name, key)) return false;
    const auto name_length = key.value<std::uint8_t>(file_name_value::name_length);
    return flags <= index_entry::flag_last && key_length != 0 && length != 0 && key_length <= length &&
           at.value<std::uint16_t>(index_entry::flags + 2) == 0 &&
           key.value<std::uint8_t>(file_name_value::name_space) <= name_space::win32_and_dos && name_length >= 1 &&
           name_length <= longest_name &&
           key.value<std::uint64_t>(file_name_value::allocated_size) >=
               key.value<std::uint64_t>(file_name_value::real_size);
}

// The accepted starts, in order. One that overlaps an accepted one is dropped.
class start_set {
public:
    void propose(std::size_t start) {
        const auto behind = std::ranges::lower_bound(starts_, start);
        if (behind != starts_.end()) {
            if (*behind - start < fixed_size) return;
            if (behind != starts_.begin() && start - *std::prev(behind) <= fixed_size) return;
        }
        starts_.insert(behind, start);
    }

    [[nodiscard]] std::vector<std::size_t> take() { return std::move(starts_); }

private:
    std::vector<std::size_t> starts_;
};

void scan_for_parent(byte_view slack, std::uint64_t directory, std::uint8_t longest_name, start_set& starts) {
    constexpr std::size_t behind_parent = 58;  // of the key, up to its last size
    for (std::size_t at = index_entry::key; slack.fits(at, behind_parent); at += word_size) {
        if (slack.value<std::uint64_t>(at) != directory) continue;
        if (looks_like_entry(slack.from(at - index_entry::key), longest_name)) starts.propose(at - index_entry::key);
    }
}

void scan_for_times(byte_view slack, std::uint8_t longest_name, start_set& starts) {
    for (std::size_t at = 0; slack.fits(at, word_size);) {
        const auto word = slack.value<std::uint64_t>(at);
        if (word < earliest_time || word > latest_time) {
            at += word_size;
            continue;
        }
        if (at >= time_places.front() && slack.fits(at, times_size)) {
            const auto* const place = std::ranges::find_if(time_places, [&](std::size_t before) {
                return at >= before && looks_like_entry(slack.from(at - before), longest_name);
            });
            if (place != time_places.end()) starts.propose(at - *place);
        }
        at += times_size;
    }
}

bool holds_name(byte_view entry) {
    const std::size_t units = entry.value<std::uint8_t>(index_entry::key + file_name_value::name_length);
    return units != 0 && entry.fits(0, least_named_entry) && entry.fits(0, (units + fixed_size / 2) * 2);
}

}  // namespace

std::vector<std::size_t> find_slack_entries(byte_view slack, std::uint64_t directory, std::uint8_t longest_name) {
    start_set starts;
    scan_for_parent(slack, directory, longest_name, starts);
    scan_for_times(slack, longest_name, starts);
    std::vector<std::size_t> found = starts.take();
    std::erase_if(found, [&](std::size_t start) { return !holds_name(slack.from(start)); });
    return found;
}
