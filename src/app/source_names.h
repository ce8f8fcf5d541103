// app/source_names.h: what the values of the source options name: which device a volume's short form stands for, and
// which -file path is a live volume's own journal. Texts only; nothing is opened. Read by the main flow and the
// evidence guard.
#pragma once

#include <string>
#include <string_view>

// Behind a drive letter, and on a device: "\$Extend\$UsnJrnl:$J".
inline constexpr std::string_view journal_on_volume = R"(\$Extend\$UsnJrnl:$J)";

// c, C: or c:\ .
[[nodiscard]] bool is_drive_letter_form(std::string_view value);

// A path that begins with two backslashes.
[[nodiscard]] bool is_device_path(std::string_view value);

// Letter, ":" and the journal's place on the volume, in any case.
[[nodiscard]] bool is_volume_journal_path(std::string_view path);

// "\\.\c:"; the letter as typed.
[[nodiscard]] std::string live_volume_path(char letter);

// "\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy3"; the index as typed.
[[nodiscard]] std::string shadow_copy_path(std::string_view index);
