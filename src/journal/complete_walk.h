// journal/complete_walk.h: the walk of -complete over a chunk of the $J stream: every sound record, whatever stands
// around it, and an account of all else. journal_walk.h has the walk of other runs.
#pragma once

#include "base/byte_view.h"
#include "journal/account.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"
#include "journal/placed_part.h"
#include "journal/sound_record.h"

#include <cstddef>
#include <cstdint>
#include <span>

// Adds the sound records of a chunk. Behind each the next one is looked for at once, behind anything else 8 bytes on.
// A header that names a record which is not sound counts as that, with the bytes that it claims; sound records are
// looked for in them too. Of what lies between records, and between them and the ends of a page, the bytes from the
// first to the last that is not 0 were no records: zeros at its ends are padding, and a whole page of them is nothing.
// `parts`: the first one begins at 0. `scratch` is overwritten.
void walk_chunk_complete(journal_collection& journal, byte_view chunk, std::span<const placed_part> parts,
                         record_account& account, journal_entry& scratch);

// An entry from a sound record, with the fields of the run cleared.
void take_sound_record(const sound_record& record, byte_view bytes, std::uint64_t offset, journal_entry& entry);
