// journal/journal_walk.h: from a chunk of the $J stream to entries of the collection. The sources read chunks, whole
// 4096-byte pages from the stream's start on, and hand each one over once.
#pragma once

#include "base/byte_view.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>

// A journal page: no record crosses one, damage is survived at the next one, and a failed read costs one.
inline constexpr std::size_t journal_page_size = 4096;

// Walks the records of one chunk, whose image_offset is the offset to report for its first byte, and adds every one to
// the collection, those that fail a field check too (valid 0). Zero pages and damage are skipped page by page.
// `scratch` is overwritten; handing in the same one saves its name buffer. `reduced` grows by the records that are
// sound and yet failed, or have lost a part of their name: those that complete_walk.h keeps whole.
void walk_chunk(journal_collection& journal, byte_view chunk, journal_entry& scratch, std::uint64_t& reduced);

// Decodes a record by its major version; the header is plausible. The fields of the run are cleared.
void decode_record(journal_entry& entry, const byte_view& record);
