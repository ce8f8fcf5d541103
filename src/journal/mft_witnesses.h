// journal/mft_witnesses.h: what an MFT says of where directories are: name, parent, and by the last USN in
// $STANDARD_INFORMATION since when.
#pragma once

#include "base/progress.h"
#include "journal/directory_places.h"

class ntfs_volume;

// A mounted volume or an exported MFT, which is read once from end to end where its moment counts. Both must be there
// for as long as the testimony is asked.
[[nodiscard]] mft_testimony testimony_of(ntfs_volume& source, progress& shown);
