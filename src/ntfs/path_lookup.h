// ntfs/path_lookup.h: from a path on a volume to the entry number of the file, through the directory indexes. What was
// learnt of a directory is kept until the source is another, so no child is read twice in a run.
#pragma once

#include "ntfs/mft_reader.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

enum class link_mode : bool { stay, follow };

struct known_directory {
    std::set<std::uint64_t> children;            // entry numbers
    std::map<std::string, std::uint64_t> names;  // lower-case UTF-8; the first child that bears a name keeps it
};

using directory_map = std::map<std::uint64_t, known_directory>;  // by entry number

class path_lookup {
public:
    explicit path_lookup(mft_reader& mft) : mft_(mft) {}

    // The MFT is that of another source from now on.
    void forget();

    // Case does not matter (ASCII), a stream name behind ":" plays no part, a leading drive letter and the device
    // prefix of a shadow copy are skipped. With link_mode::follow a junction or an absolute symbolic link on the way is
    // followed, a bounded number of times. Empty when a segment is not found; why, stands in the diagnostic log.
    [[nodiscard]] std::optional<std::uint64_t> find(std::u16string_view path, link_mode links);

private:
    mft_reader& mft_;
    directory_map directories_;
    work_budget index_bytes_;
};

// The names of an entry, in the order of its attributes; those of the DOS name space left out.
[[nodiscard]] std::vector<std::u16string> get_record_names(const mft_entry& entry);
