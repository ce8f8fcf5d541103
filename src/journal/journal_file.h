// journal/journal_file.h: the extracted $J file as a source, and the one callback that every source hands its chunks
// to.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/byte_view.h"
#include "journal/journal_entry.h"

// Takes the chunks of one source, in the order they are read, into the run's collection.
class chunk_receiver {
public:
    explicit chunk_receiver(usnjrnl_context& run) : run_(run) {}

    // `chunk`: bytes of the source; its image_offset is their offset in the extracted file. True when it held entries.
    bool on_journal_chunk(byte_view chunk);

private:
    [[nodiscard]] bool scan_chunk(byte_view chunk);

    usnjrnl_context& run_;
    journal_entry scratch_;
};

// Reads the file at the run's journal path, in pages of 4096 bytes from its start: holes are skipped, a page that
// cannot be read is lost and the rest goes on. False when the file cannot be opened; a source without a size yields
// nothing.
[[nodiscard]] bool read_extracted_journal(usnjrnl_context& run);
