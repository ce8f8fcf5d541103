// storage/volume_names.h: what the forms of a source's path stand for: drive letters, device paths, shadow copies and
// the journal of a live volume. Texts only; nothing is opened.
#pragma once

#include "storage/disk_reader.h"

#include <string>
#include <string_view>

// Behind a drive letter, and on a device: "\$Extend\$UsnJrnl:$J".
inline constexpr std::string_view journal_on_volume = R"(\$Extend\$UsnJrnl:$J)";

// c, C: or c:\ .
[[nodiscard]] bool is_drive_letter_form(std::string_view value);

// A path that begins with two backslashes.
[[nodiscard]] bool is_device_path(std::string_view value);

// How a volume that is named by a path is read: a device path or a drive letter as such, anything else as an image.
[[nodiscard]] reader_mode reader_mode_of(std::string_view path);

// Letter, ":" and the journal's place on the volume, in any case.
[[nodiscard]] bool is_volume_journal_path(std::string_view path);

// "\\.\c:"; the letter as typed.
[[nodiscard]] std::string live_volume_path(char letter);

// "\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy3"; the index as typed.
[[nodiscard]] std::string shadow_copy_path(std::string_view index);
