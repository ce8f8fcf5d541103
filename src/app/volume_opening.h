// app/volume_opening.h: the volume of a run, opened and mounted as the settings ask for it, with the MFT rebuilt when
// that is wanted. Used by the check of a volume and by the pull.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"
#include "storage/disk_reader.h"

#include <cstdint>
#include <memory>
#include <string>

class ntfs_volume;

// A mounted volume, or null. `mft_damaged` is set when nothing but a damaged $MFT stood in the way.
[[nodiscard]] std::shared_ptr<ntfs_volume> open_volume_at(const std::string& path, reader_mode mode,
                                                          std::uint64_t volume_offset, const usnjrnl_context& settings,
                                                          uni::status_line& status, const diagnostic_log& log,
                                                          bool& mft_damaged);

inline constexpr const char* damaged_mft_message = "prob $MFT damaged, -rebuild_mft may help\n";

// What may help a user whose volume has a damaged $MFT; said behind the message that the volume cannot be read.
void report_damaged_mft(bool mft_damaged, uni::status_line& status);
