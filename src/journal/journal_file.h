// journal/journal_file.h: the extracted $J file as a source.
#pragma once

#include "base/progress.h"
#include "journal/journal_intake.h"

#include <string>

// Reads the file in pages of 4096 bytes from its start: holes are skipped, a page that cannot be read is lost, and the
// rest goes on. False when the file cannot be opened; a source without a size yields nothing.
[[nodiscard]] bool read_extracted_journal(const std::string& path, journal_intake& intake, progress& shown);
