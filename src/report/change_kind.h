// report/change_kind.h: the kind of change that a record tells of, by what it adds to the record of the same file
// before it.
#pragma once

#include "journal/record_chain.h"
#include "journal/usn_text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string_view>

namespace report {

// The first that applies is a record's kind.
enum class change_kind : std::uint8_t { deleted, renamed, created, data, other };

inline constexpr std::size_t kinds = 5;
inline constexpr std::array<std::string_view, kinds> kind_names{"deleted", "renamed", "created", "data", "other"};
inline constexpr std::array<change_kind, kinds> all_kinds{change_kind::deleted, change_kind::renamed,
                                                          change_kind::created, change_kind::data, change_kind::other};

using kind_counts = std::array<std::uint32_t, kinds>;  // by kind; more records than 32 bits count are none of a run

[[nodiscard]] constexpr std::size_t place_of(change_kind kind) { return static_cast<std::size_t>(kind); }

[[nodiscard]] constexpr std::uint64_t sum_of(const kind_counts& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

inline constexpr std::uint32_t any_data = 0x00000077;  // reasons of the file's data and of its named streams

// Reasons gather until the file is closed. `before`: those of the record of the same file before this one, 0 for none.
[[nodiscard]] constexpr std::uint32_t added_reasons(std::uint32_t reasons, std::uint32_t before) {
    return (before & usn_reason::close) != 0 ? reasons : reasons & ~before;
}

[[nodiscard]] constexpr change_kind kind_of(std::uint32_t added) {
    if ((added & usn_reason::file_delete) != 0) return change_kind::deleted;
    if ((added & usn_reason::rename_new_name) != 0) return change_kind::renamed;
    if ((added & usn_reason::file_create) != 0) return change_kind::created;
    return (added & any_data) != 0 ? change_kind::data : change_kind::other;
}

}  // namespace report
