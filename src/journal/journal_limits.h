// journal/journal_limits.h: what a volume says of its own change journal: the stream $Max of $UsnJrnl, fields as
// USN_JOURNAL_DATA names them.
#pragma once

#include <cstdint>
#include <optional>

class ntfs_volume;

struct journal_limits {
    std::uint64_t maximum_size = 0;      // bytes
    std::uint64_t allocation_delta = 0;  // bytes
    std::uint64_t identifier = 0;        // the FILETIME at which the journal was made
    std::int64_t lowest_valid_usn = 0;   // no record of this journal stands below
};

// Of a mounted volume. None when there is no journal, or its stream cannot be read or is too short.
[[nodiscard]] std::optional<journal_limits> limits_of_journal(ntfs_volume& volume);
