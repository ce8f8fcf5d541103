// journal/path_resolution.h: where each file of the journal was: the path of its parent directory, and whether that
// directory still names it. One pass over the collection, between the passes that fill it and the writers.
#pragma once

#include "base/progress.h"

#include <memory>

class gathered_history;
class journal_collection;
class ntfs_volume;

// Gives every record a path and a status from the MFT of `mft_source`, with `pull_times` the four times of the index
// entry too. The volume may be closed afterwards. False, and nothing is given, when the collection did not number its
// pairs or the volume does not mount. Work is done per distinct parent, never per record beyond a look-up.
// `told`: for the paths that files had too, null for none.
[[nodiscard]] bool resolve_journal_paths(journal_collection& records, ntfs_volume& mft_source, bool pull_times,
                                         progress& shown, std::unique_ptr<gathered_history> told = nullptr);

// Gives every record the path that it had, without any MFT, and no status. The collection numbered its pairs.
void resolve_past_paths(journal_collection& records, std::unique_ptr<gathered_history> told);
