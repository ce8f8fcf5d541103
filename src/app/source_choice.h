// app/source_choice.h: which source the run reads, and whether it may.
#pragma once

#include "app/argument_list.h"
#include "app/journal_source.h"
#include "app/run_console.h"
#include "app/usnjrnl_context.h"
#include "ntfs/ntfs_volume.h"

#include <memory>
#include <optional>

struct opened_source {
    journal_source source;
    disk_reader image;                    // that of an image, until a volume is opened over it; else closed
    std::unique_ptr<ntfs_volume> volume;  // mounted, where the choice had to see it; else null
};

// Takes the source options; the first present of them wins. Empty when the run must end; the reason was told.
[[nodiscard]] std::optional<opened_source> choose_source(argument_list& arguments, const usnjrnl_context& settings,
                                                         const run_console& console);
