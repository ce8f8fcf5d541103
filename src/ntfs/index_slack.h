// ntfs/index_slack.h: what is left of deleted index entries behind the entries in use of an index node. Nothing marks
// where one begins, so starts are guessed from what every entry holds: its directory's reference and four times.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// Where in `slack` remnants of index entries begin, ascending. `directory`: the reference of the directory whose index
// it is. `longest_name`: of a remnant, in UTF-16 units.
[[nodiscard]] std::vector<std::size_t> find_slack_entries(byte_view slack, std::uint64_t directory,
                                                          std::uint8_t longest_name);
