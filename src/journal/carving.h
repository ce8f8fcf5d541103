// journal/carving.h: the three passes that look for lost records on a mounted volume, after its journal was read: in
// clusters that the volume bitmap marks free, in the store files of shadow copies, and in the slack behind the data of
// files.
#pragma once

#include "app/usnjrnl_context.h"

#include <functional>
#include <string_view>

class ntfs_volume;

// Shows a text on the status line; empty when the user wants no progress.
using progress_sink = std::function<void(std::string_view text)>;

// Each adds what it finds to the run's collection and is true when that holds entries afterwards, its own or earlier
// ones. What a pass needs and cannot have (the bitmap, the catalog, a store file) ends it quietly; clusters that cannot
// be read are skipped and counted in the run's lost bytes.
bool carve_unallocated(ntfs_volume& volume, usnjrnl_context& run, const progress_sink& progress);
bool carve_shadow_stores(ntfs_volume& volume, usnjrnl_context& run, const progress_sink& progress);
bool carve_slack(ntfs_volume& volume, usnjrnl_context& run, const progress_sink& progress);
