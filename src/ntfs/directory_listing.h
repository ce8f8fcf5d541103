// ntfs/directory_listing.h: which of some files a directory's $I30 index names, in its entries or in what is left of
// them in the slack, and with which times. One listing is filled for one parent directory at a time; it holds the files
// that are asked for, however many the index names.
#pragma once

#include "base/byte_view.h"
#include "ntfs/directory_path.h"
#include "ntfs/index_node.h"
#include "ntfs/mft_reader.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// FILETIMEs of a $FILE_NAME value or of $STANDARD_INFORMATION.
struct file_times {
    std::uint64_t created = 0;
    std::uint64_t modified = 0;
    std::uint64_t mft_changed = 0;
    std::uint64_t accessed = 0;
};

// In rising order of precedence.
enum class listed_in : std::uint8_t { nowhere, slack, index };

struct wanted_file {
    std::uint64_t reference = 0;
    listed_in where = listed_in::nowhere;
    file_times times;
};

class directory_listing {
public:
    // Starts the next directory: nothing is wanted, nothing was seen.
    void clear();

    // References come in their order, none twice.
    void want(std::uint64_t reference) { files_.push_back({reference, listed_in::nowhere, {}}); }

    // An entry of the directory was met. Of one reference the first entry counts, an entry of the index before a
    // remnant. The file whose times are wanted from it, or null.
    [[nodiscard]] wanted_file* meet(std::uint64_t reference, listed_in where);

    [[nodiscard]] bool any() const { return any_; }
    [[nodiscard]] std::span<const wanted_file> files() const { return files_; }

private:
    std::vector<wanted_file> files_;
    bool any_ = false;
};

// What one path resolution works with. The path cache goes on to whoever keeps the paths.
struct mft_entries_ctx {
    // `pull_times`: the times of the index entries are wanted. Remnants in the slack are then looked for as well, where
    // clusters can be read. `complete`: they are looked for in any case, by wider rules, see index_reading.
    mft_entries_ctx(mft_reader& mft_source, bool pull_times, bool complete)
        : source(mft_source),
          reading{.slack = (pull_times || complete) && mft_source.clusters().readable(), .complete = complete},
          paths(std::make_unique<directory_path_cache>(mft_source)),
          index_bytes(readings::listed_indexes, mft_source.clusters().source_limit()) {}

    mft_reader& source;
    index_reading reading;
    std::unique_ptr<directory_path_cache> paths;
    work_budget index_bytes;
};

struct listed_parent {
    std::uint16_t flags = 0;          // of its record
    bool index_out_of_reach = false;  // a part of the index lies in clusters that the source does not have

    [[nodiscard]] bool present() const;  // a directory in use
};

// Reads the directory with that reference, gives the path cache its name, and lists its index. A reference without a
// sequence number takes that of the record. False when the record cannot be read, was reused, or nothing at all is
// listed, unless the index is out of reach.
[[nodiscard]] bool list_parent_directory(mft_entries_ctx& context, std::uint64_t& parent, directory_listing& listing,
                                         listed_parent& found);

// Adds the entries of one index node, as remnants when its block is not in use, and what its slack holds when that is
// asked for. `node`: from its header to the end of its space. `directory`: the reference of the directory.
void collect_index_entries(byte_view node, bool in_use, std::uint64_t directory, const index_reading& reading,
                           directory_listing& listing);
