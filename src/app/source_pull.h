// app/source_pull.h: the chosen source read, and what the user is told when that fails.
#pragma once

#include "app/run_console.h"
#include "app/source_choice.h"
#include "journal/journal_intake.h"
#include "journal/reading_settings.h"
#include "ntfs/ntfs_volume.h"

#include <cstdint>
#include <memory>
#include <string>

// What is left of a source that was pulled: its volume and the MFT that paths come from, open where there were any.
struct pulled_source {
    std::string typed;
    std::uint64_t size = 0;               // bytes; 0: not known
    std::unique_ptr<ntfs_volume> volume;  // that the journal was read from; null: it was a file
    std::unique_ptr<ntfs_volume> mft_file;
    bool mft_refused = false;  // one was given that cannot be read

    // Of the files that the records tell of; null: there is none.
    [[nodiscard]] ntfs_volume* mft() const;
};

// Hands all that could be read to `intake` and resolves its paths when that is asked for. Every failure was told.
[[nodiscard]] pulled_source pull_source(opened_source opened, const reading_settings& asked, journal_intake& intake,
                                        const run_console& console);
