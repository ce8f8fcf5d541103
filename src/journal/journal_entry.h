// journal/journal_entry.h: one decoded change record and what the run adds to it. Decoders fill it, the collection
// packs and unpacks it, writers read it. A plain value that is reused for a whole run; it owns its texts, the path
// apart.
#pragma once

#include "base/file_reference.h"

#include <cstdint>
#include <string>
#include <string_view>

struct journal_entry {
    std::uint8_t valid = 0;  // 0: a field check failed; every decoded field is zero and the name is empty
    std::uint64_t file_ref = 0;
    std::uint64_t parent_ref = 0;
    std::int64_t usn = 0;
    std::uint64_t timestamp = 0;  // FILETIME; 0 for version 4
    std::uint32_t reason = 0;
    std::uint32_t source_info = 0;
    std::uint32_t security_id = 0;
    std::uint32_t file_attributes = 0;
    std::u16string name;
    std::uint64_t record_offset = 0;  // bytes, in the source

    std::string_view
        parent_path;  // UTF-8, ends with "\"; belongs to the collection, holds until the next entry is read
    std::uint32_t path_number =
        0;  // which of the run's paths that is, 0 for none: what is found out of one serves again
    std::uint8_t mft_entry_missing = 0;   // "del/entry"
    std::uint8_t mft_parent_missing = 0;  // "del/parent"
    std::uint8_t mft_entry_current = 0;   // "valid"
    std::uint64_t si_created = 0;         // FILETIMEs of the parent's index entry, 0 when not pulled
    std::uint64_t si_modified = 0;
    std::uint64_t si_mft_changed = 0;
    std::uint64_t si_accessed = 0;
    std::uint8_t mft_entry_remnant = 0;  // "del/wisp"
    std::uint8_t from_unalloc = 0;       // carved from free clusters
    std::uint8_t from_vss = 0;           // carved from a shadow-copy store
    std::uint8_t from_slack = 0;         // carved from slack space
    std::string snapshot_label;
};
