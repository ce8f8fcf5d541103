// ntfs/mft_rebuild.h: an MFT put together again from every record that is found anywhere on the volume, for a volume
// whose $MFT is lost. Asked for by app with -rebuild_mft; the volume serves the records afterwards.
#pragma once

#include "base/progress.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>

enum class rebuild_result : std::uint8_t {
    rebuilt,
    unreadable,  // the boot sector cannot be read
    failed,      // it is not that of an NTFS volume, or hardly any record was found
};

// Scans the volume from end to end, holes left out. Of several copies of a record the one with the highest sequence
// number wins, of equal ones the one in use, else the first. Numbers that a volume of that size cannot have are left
// out, so memory is bounded by the volume. Mounts the volume.
[[nodiscard]] rebuild_result rebuild_mft(ntfs_volume& volume, progress& shown);
