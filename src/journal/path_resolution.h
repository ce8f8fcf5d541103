// journal/path_resolution.h: where each file of the journal was: the path of its parent directory, and whether that
// directory still names it. One pass over the collection, between the passes that fill it and the writers.
#pragma once

#include "app/usnjrnl_context.h"

class ntfs_volume;

// Gives every record of the run's collection a path and a status from the MFT of `mft_source`, with -pulltimes the four
// times of the index entry too. The volume may be closed afterwards. False, and nothing is given, when paths are off,
// the volume does not mount, or the collection did not number pairs. Work is done per distinct parent, never per record
// beyond a look-up.
[[nodiscard]] bool resolve_journal_paths(usnjrnl_context& run, ntfs_volume& mft_source);
