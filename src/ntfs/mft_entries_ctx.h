// ntfs/mft_entries_ctx.h: what one path resolution works with. Made for the pass over the run's records; its path cache
// goes on to whoever keeps the paths.
#pragma once

#include "ntfs/directory_index.h"
#include "ntfs/directory_path.h"
#include "ntfs/index_node.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>
#include <memory>

struct mft_entries_ctx {
    // `pull_times`: the times of the index entries are wanted. Remnants in the slack are then looked for as well, where
    // clusters can be read. `complete`: they are looked for in any case, by wider rules, see index_reading.
    mft_entries_ctx(ntfs_volume& mft_source, bool pull_times, bool complete)
        : source(mft_source),
          reading{.slack = (pull_times || complete) && mft_source.has_clusters(), .complete = complete},
          paths(std::make_unique<directory_path_cache>(mft_source)),
          most_index_bytes(::most_index_bytes(mft_source)) {}

    ntfs_volume& source;
    index_reading reading;
    std::unique_ptr<directory_path_cache> paths;
    std::uint64_t most_index_bytes;  // that may still be read
};
