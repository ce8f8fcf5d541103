// app/unlisted_volume.h: a volume that begins where the user says, whatever the partition table of its disk says.
#pragma once

#include "app/journal_source.h"
#include "app/run_console.h"
#include "journal/reading_settings.h"

#include <memory>
#include <string>

class ntfs_volume;

// The NTFS volume that mounts at the volume offset of `source` in its image, which it takes, when the image holds what
// its boot sector claims or need not (`whole_volume_needed`); `messages`, so far why no partition was chosen, then tell
// of that volume alone. Otherwise null, and what stood in the way of a volume that is there was added to them.
[[nodiscard]] std::unique_ptr<ntfs_volume> open_unlisted_volume(const journal_source& source, disk_reader image,
                                                                bool whole_volume_needed, std::string& messages,
                                                                const reading_settings& asked,
                                                                const run_console& console);
