// ntfs/directory_cache.h: what a volume has learnt of its directories through path look-ups. Owned by the volume, kept
// until it is closed.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

struct dir_node {
    std::set<std::uint64_t> children;            // entry numbers
    std::map<std::string, std::uint64_t> names;  // lower-case UTF-8; the first child that bears a name keeps it
    bool not_in_use = false;                     // so its record said when it was seen as a child
};

using directory_cache = std::map<std::uint64_t, dir_node>;  // by entry number
