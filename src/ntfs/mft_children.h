// ntfs/mft_children.h: the files of directories whose index cannot be read, told by the names in the MFT's own records.
// For an exported $MFT, which has no clusters: one scan of it serves all such directories.
#pragma once

#include "ntfs/directory_listing.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>
#include <vector>

struct unread_directory {
    std::uint64_t reference = 0;
    directory_listing listing;  // with what is known already
};

// Completes the listings: a file in use with a name in one of the directories counts as an entry of its index, with the
// times of its $STANDARD_INFORMATION. A name in an extension record counts for the base record. `directories` come in
// the order of their references; one may come several times.
void list_by_mft_scan(ntfs_volume& source, std::vector<unread_directory>& directories);
