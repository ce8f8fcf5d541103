// ntfs/path_lookup.h: from a path on a volume to the entry numbers of the file and of the directory that holds it,
// through the directory indexes. What was learnt of a directory stays with the volume, so no child is read twice in a
// run.
#pragma once

#include "ntfs/ntfs_volume.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class link_mode : bool { stay, follow };

struct found_path {
    std::uint64_t entry = 0;
    std::uint64_t parent = ~std::uint64_t{0};
    std::u16string normalised;
};

// Case does not matter (ASCII), a stream name behind ":" plays no part, a leading drive letter and the device prefix of
// a shadow copy are skipped. With link_mode::follow a junction or an absolute symbolic link on the way is followed, a
// bounded number of times. False when a segment is not found; why, stands in the diagnostic log.
[[nodiscard]] bool lookup_path_entry(ntfs_volume& volume, std::u16string_view path, link_mode links, found_path& found);

// The names of an entry, in the order of its attributes; those of the DOS name space left out.
[[nodiscard]] std::vector<std::u16string> get_record_names(const mft_entry& entry);
