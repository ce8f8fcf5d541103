// app/volume_opening.h: the volume of a run, opened and mounted as the settings ask for it, with the MFT rebuilt when
// that is wanted.
#pragma once

#include "app/journal_source.h"
#include "app/run_console.h"
#include "journal/reading_settings.h"

#include <memory>

class ntfs_volume;

// A mounted volume, or null. `image` is read where it is open, otherwise the source is opened here. `mft_damaged` is
// set when nothing but a damaged $MFT stood in the way.
[[nodiscard]] std::unique_ptr<ntfs_volume> open_volume(const journal_source& source, disk_reader image,
                                                       const reading_settings& asked, const run_console& console,
                                                       bool& mft_damaged);

inline constexpr const char* damaged_mft_message = "prob $MFT damaged, -rebuild_mft may help\n";

// What may help a user whose volume has a damaged $MFT; said behind the message that the volume cannot be read.
void report_damaged_mft(bool mft_damaged, uni::status_line& status);
