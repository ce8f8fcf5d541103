// storage/volume_offset.h: where in an image the NTFS volume begins. Called once by the main flow, before the volume is
// opened.
#pragma once

#include "storage/disk_reader.h"

#include <cstdint>
#include <string>

// `offset` is what the user named, 0 when nothing was named. On success it is the volume's offset. On failure it is
// that of the NTFS partition to be offered, if there is one; otherwise it stays. `found`: an NTFS volume was seen, if
// only as one that the image does not wholly hold. Appends to `messages` what there is to say, each message with its
// line end; the caller decides whether that is shown. `ignore_image_size` accepts a volume that is longer than its
// image.
[[nodiscard]] bool select_volume_offset(std::string& messages, const std::string& image_path, std::int64_t& offset,
                                        bool ignore_image_size, bool& found);

// The same over an image that is open already.
[[nodiscard]] bool select_volume_offset(std::string& messages, disk_reader& reader, std::int64_t& offset,
                                        bool ignore_image_size, bool& found);

// The message for a volume at `offset` that its image ends before.
[[nodiscard]] std::string not_wholly_held(std::uint64_t offset);
