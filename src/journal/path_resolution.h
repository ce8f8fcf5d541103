// journal/path_resolution.h: where each file of the journal was: the path of its parent directory, and whether that
// directory still names it. One pass over the collection, between the passes that fill it and the writers.
#pragma once

#include "base/progress.h"

#include <memory>

class gathered_history;
class journal_collection;
class ntfs_volume;

struct resolution_settings {
    bool pull_times = false;  // the four times of the index entry too
    bool complete = false;    // remnants are told from entries by all that the source has, and names stay distinct
};

// Gives every record a path and a status from the MFT of `mft_source`. The volume may be closed afterwards. False, and
// nothing is given, when the collection did not number its pairs or the volume does not mount. Work is done per
// distinct parent, never per record beyond a look-up. `told`: for the paths that files had too, null for none.
[[nodiscard]] bool resolve_journal_paths(journal_collection& records, ntfs_volume& mft_source,
                                         const resolution_settings& asked, progress& shown,
                                         std::unique_ptr<gathered_history> told = nullptr);

// Gives every record the path that it had, without any MFT, and no status. The collection numbered its pairs.
// `with_surrogates`: those without a partner stay in the texts, see base/utf.h.
void resolve_past_paths(journal_collection& records, std::unique_ptr<gathered_history> told, bool with_surrogates);
