// journal/volume_journal.h: the change journal of an NTFS volume as a source.
#pragma once

#include "app/usnjrnl_context.h"

#include <functional>

class ntfs_volume;

// Finds $Extend\$UsnJrnl on a mounted volume and hands its $J stream to the collection. `found` is called once, when
// the journal was found and before it is read. Bytes that cannot be read are added to the run's lost bytes. False when
// the volume has no journal or its entry cannot be read; a journal without a $J stream collects nothing.
[[nodiscard]] bool read_volume_journal(ntfs_volume& volume, usnjrnl_context& run, const std::function<void()>& found);
