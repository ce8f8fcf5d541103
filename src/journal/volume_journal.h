// journal/volume_journal.h: the change journal of an NTFS volume as a source.
#pragma once

#include "base/progress.h"
#include "journal/journal_intake.h"

#include <cstdint>
#include <functional>
#include <string_view>

class ntfs_volume;

// As path_lookup takes it.
inline constexpr std::u16string_view journal_path = u"\\$extend\\$usnjrnl:$j";

enum class journal_found : std::uint8_t { no, unreadable, yes };

// Finds $Extend\$UsnJrnl on a mounted volume and hands its $J stream on. `found` is called once, when the journal was
// found and before it is read. Bytes that cannot be read are lost. A journal without a $J stream yields nothing.
[[nodiscard]] journal_found read_volume_journal(ntfs_volume& volume, journal_intake& intake, progress& shown,
                                                const std::function<void()>& found);
