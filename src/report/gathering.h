// report/gathering.h: from a collection to what a page tells of it: one pass in order of USN, one in order of time.
#pragma once

#include "base/progress.h"
#include "base/run_meter.h"
#include "journal/journal_collection.h"
#include "ntfs/ntfs_volume.h"
#include "report/findings.h"

namespace report {

// `mft`: of the files that the records tell of; null: there is none. The collection outlives the findings.
[[nodiscard]] findings gather(run_facts run, const journal_collection& records, ntfs_volume* mft, run_meter& meter,
                              progress& shown);

}  // namespace report
