// journal/journal_file.h: the extracted $J file as a source.
#pragma once

#include "base/progress.h"
#include "journal/journal_intake.h"
#include "storage/disk_reader.h"

// Reads the file in pages of 4096 bytes from its start: holes are skipped, a page that cannot be read is lost, and the
// rest goes on. A source without a size yields nothing.
void read_extracted_journal(disk_reader& source, journal_intake& intake, progress& shown);
