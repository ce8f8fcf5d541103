// ntfs/mft_survey.h: what every entry of an MFT says of its own file in $STANDARD_INFORMATION, in one reading from end
// to end.
#pragma once

#include "base/progress.h"
#include "ntfs/mft_reader.h"

#include <cstdint>
#include <string_view>
#include <vector>

struct surveyed_entry {
    std::uint64_t number = 0;
    std::int64_t last_usn = 0;  // 0: none, or none that a journal has
    std::uint64_t created = 0;  // FILETIME
    std::uint16_t sequence = 0;
    bool in_use = false;
};

// Base records with that attribute in themselves, in order of number. No more than the source has room for. `task` is
// what is told of the progress.
[[nodiscard]] std::vector<surveyed_entry> survey_mft(mft_reader& mft, progress& shown, std::string_view task);

// The last USN in a value of $STANDARD_INFORMATION; 0 for one that no journal has, too.
[[nodiscard]] std::int64_t last_usn_in(const attribute& standard_information);
