// journal/journal_file.h: the extracted $J file as a source.
#pragma once

#include "app/usnjrnl_context.h"

// Reads the file at the run's journal path, in pages of 4096 bytes from its start: holes are skipped, a page that
// cannot be read is lost, is added to the run's lost bytes, and the rest goes on. False when the file cannot be opened;
// a source without a size yields nothing.
[[nodiscard]] bool read_extracted_journal(usnjrnl_context& run);
