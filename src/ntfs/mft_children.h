// ntfs/mft_children.h: the files of directories whose index cannot be read, told by the names in the MFT's own records.
// For an exported $MFT, which has no clusters: one scan of it serves all such directories.
#pragma once

#include "base/progress.h"
#include "ntfs/directory_listing.h"
#include "ntfs/mft_reader.h"

#include <cstdint>
#include <functional>

using directory_test = std::function<bool(std::uint64_t directory)>;
using child_visitor = std::function<void(std::uint64_t directory, std::uint64_t file, const file_times& times)>;

// Visits every file in use that has a name in a directory that is wanted, once for each such name, with the times of
// its $STANDARD_INFORMATION. A name in an extension record counts for the base record. All are references. Neither
// function may read from `source`.
void visit_mft_children(mft_reader& source, const directory_test& wanted, const child_visitor& visit, progress& shown);
