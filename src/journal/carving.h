// journal/carving.h: the three passes that look for lost records on a mounted volume, after its journal was read: in
// clusters that the volume bitmap marks free, in the store files of shadow copies, and in the slack behind the data of
// files.
#pragma once

#include "base/progress.h"
#include "journal/journal_intake.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>

// The passes of one run over one volume, in the order of their functions here.
struct carving_run {
    ntfs_volume& volume;
    journal_intake& intake;
    progress& shown;

    // Entry numbers of carved records are below it; in a complete intake records where they are not are marked. Set by
    // the first and the last pass from what $MFT has room for.
    // kept: the one between takes it as it finds it, so that without the first pass any number will do; with a complete
    // intake it sets it too.
    std::uint64_t entry_bound = 0x3FFFFFFFFFFFFF;
};

// Each adds what it finds. What a pass needs and cannot have (the bitmap, the catalog, a store file) ends it quietly;
// clusters that cannot be read are skipped and counted as lost.
void carve_unallocated(carving_run& run);
void carve_shadow_stores(carving_run& run);
void carve_slack(carving_run& run);

// How many records the clusters of $MFT hold.
[[nodiscard]] std::uint64_t entry_number_bound(ntfs_volume& volume);

// The line that ends the first and the last pass.
inline constexpr std::string_view carving_results_text = "analyzing results - formatting output";
