// app/unlisted_volume.h: a volume that begins where the user says, whatever the partition table of its disk says.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"

#include <string>

// True when an NTFS volume mounts at `offset` bytes of the run's image, and the image holds what its boot sector claims
// or need not (`whole_volume_needed`); `messages`, so far why no partition was chosen, then tell of that volume alone.
// Otherwise what stood in the way of a volume that is there was added to them.
[[nodiscard]] bool take_unlisted_volume(std::int64_t offset, bool whole_volume_needed, std::string& messages,
                                        usnjrnl_context& settings, uni::status_line& status, const diagnostic_log& log);
