// journal/journal_entry.h: one decoded change record and what the run adds to it. Decoders fill it, the collection
// packs and unpacks it, writers read it. A plain value that is reused for a whole run; it owns its name, the other
// texts belong to the collection.
#pragma once

#include "base/file_reference.h"
#include "journal/path_basis.h"

#include <compare>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Where a record was found.
enum class record_origin : std::uint8_t { journal, unallocated, shadow_copy, slack };

// What the MFT says of a record's file: its parent directory is gone, does not name it, names it only in what is left
// of an index entry, or names it. Unknown: there is no MFT.
enum class mft_status : std::uint8_t { parent_gone, entry_gone, remnant, valid, unknown };

// A place where a record was found once more; the label is that of a shadow copy.
struct found_elsewhere {
    record_origin origin = record_origin::journal;
    std::string_view label;

    friend bool operator==(const found_elsewhere&, const found_elsewhere&) = default;
};

struct file_extent {
    std::int64_t offset = 0;  // bytes, in the file
    std::int64_t length = 0;

    friend auto operator<=>(const file_extent&, const file_extent&) = default;
};

// What hardly any record has.
struct record_details {
    std::uint64_t file_ref_high = 0;  // the upper half of a reference of 128 bits
    std::uint64_t parent_ref_high = 0;
    std::uint32_t remaining_extents = 0;  // of version 4: those that later records list
    std::vector<file_extent> extents;     // of version 4: those that were changed
    bool name_is_cut = false;             // the record's name is longer than the entry's
};

// What every shape of a record has, copied as a whole from one to the next.
struct record_fields {
    std::uint64_t file_ref = 0;  // of 128 bits the low half, which is the reference on NTFS
    std::uint64_t parent_ref = 0;
    std::int64_t usn = 0;
    std::uint64_t timestamp = 0;  // FILETIME; 0 in version 4
    std::uint32_t reason = 0;
    std::uint32_t source_info = 0;
    std::uint32_t security_id = 0;      // 0 in version 4
    std::uint32_t file_attributes = 0;  // likewise

    [[nodiscard]] record_fields& fields() { return *this; }
    [[nodiscard]] const record_fields& fields() const { return *this; }

    friend auto operator<=>(const record_fields&, const record_fields&) = default;
};

// One serves a whole run: its fields stand as they are read, not as they pack.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct journal_entry : record_fields {
    std::uint8_t valid = 0;  // 0: a field check failed; every decoded field is zero and the name is empty
    std::u16string name;
    std::uint64_t record_offset = 0;  // bytes, in the source
    std::uint8_t version = 0;         // 2 to 4; 0 for an entry that is not valid
    bool has_details = false;         // only then the next one means anything
    record_details details;

    // Of the run. The views hold until the next entry is read.
    std::uint64_t arrival = 0;  // its number in order of arrival
    record_origin origin = record_origin::journal;
    std::string_view snapshot_label;  // of the shadow copy that it was carved from
    bool foreign = false;             // carved, and of an entry that the volume's MFT has no room for
    std::span<const found_elsewhere> also_in;
    mft_status status = mft_status::entry_gone;
    std::string_view parent_path;  // UTF-8, ends with "\"
    std::uint32_t path_number =
        0;  // which of the run's paths that is, 0 for none: what is found out of one serves again

    // With path history, when the path is the one that the directory had when the record was written.
    path_basis basis = path_basis::exact;
    std::string_view path_now;  // the one by the MFT; empty when it is the same or not known
    std::uint32_t path_now_number = 0;

    std::uint64_t index_created = 0;  // FILETIMEs of the parent's index entry, 0 when not pulled
    std::uint64_t index_modified = 0;
    std::uint64_t index_mft_changed = 0;
    std::uint64_t index_accessed = 0;
};
