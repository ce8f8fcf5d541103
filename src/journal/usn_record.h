// journal/usn_record.h: the change record (USN_RECORD_V2, _V3 and _V4) as it lies in the journal: where its fields
// stand, which bytes are taken for a record, and how one becomes a journal_entry. Called by the walk and by the carving
// passes. Views begin at the record's first byte and end where the available bytes end; their image_offset is the
// record's offset in the source. Decoded entries own their names, nothing points back into the chunk.
#pragma once

#include "base/byte_view.h"
#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>

// The header that all versions share.
namespace usn_header {
inline constexpr std::size_t record_length = 0;  // u32, whole record
inline constexpr std::size_t major_version = 4;  // u16
inline constexpr std::size_t minor_version = 6;  // u16
inline constexpr std::size_t size = 8;
inline constexpr std::uint32_t longest_record = 4096;
inline constexpr std::size_t alignment = 8;  // of records of every version
}  // namespace usn_header

namespace usn_v2 {
inline constexpr std::size_t file_reference = 8;     // u64
inline constexpr std::size_t parent_reference = 16;  // u64
inline constexpr std::size_t usn = 24;               // u64
inline constexpr std::size_t timestamp = 32;         // u64, FILETIME
inline constexpr std::size_t reason = 40;            // u32
inline constexpr std::size_t source_info = 44;       // u32
inline constexpr std::size_t security_id = 48;       // u32
inline constexpr std::size_t file_attributes = 52;   // u32
inline constexpr std::size_t name_length = 56;       // u16, bytes
inline constexpr std::size_t name_offset = 58;       // u16, from the record's start
inline constexpr std::size_t fixed_size = 60;        // the name follows, UTF-16LE, not terminated
inline constexpr std::uint32_t shortest_record = 62;
}  // namespace usn_v2

// In versions 3 and 4 references have 128 bits. Their low 64 bits are used, and they read like those of version 2; the
// others are kept as details where they are not zero.
inline constexpr std::size_t upper_half = 8;  // of a reference, bytes behind its beginning

namespace usn_v3 {
inline constexpr std::size_t file_reference = 8;
inline constexpr std::size_t parent_reference = 24;
inline constexpr std::size_t usn = 40;
inline constexpr std::size_t timestamp = 48;
inline constexpr std::size_t reason = 56;
inline constexpr std::size_t source_info = 60;
inline constexpr std::size_t security_id = 64;
inline constexpr std::size_t file_attributes = 68;
inline constexpr std::size_t name_length = 72;
inline constexpr std::size_t name_offset = 74;
inline constexpr std::size_t fixed_size = 76;
inline constexpr std::uint32_t shortest_record = 78;
}  // namespace usn_v3

// Range tracking: no time stamp and no name. Behind the fixed part stand the extents that were changed.
namespace usn_v4 {
inline constexpr std::size_t file_reference = 8;
inline constexpr std::size_t parent_reference = 24;
inline constexpr std::size_t usn = 40;
inline constexpr std::size_t reason = 48;
inline constexpr std::size_t source_info = 52;
inline constexpr std::size_t remaining_extents = 56;  // u32
inline constexpr std::size_t extent_count = 60;       // u16
inline constexpr std::size_t extent_size = 62;        // u16, bytes
inline constexpr std::size_t fixed_size = 64;
inline constexpr std::uint32_t shortest_record = 64;
}  // namespace usn_v4

inline constexpr std::uint32_t attribute_directory = 0x10;

// Exclusive bound for entry numbers where nothing is known about the volume's MFT.
inline constexpr std::uint64_t any_entry_number = 0xFFFFFFFF;

// Of a name that the decoders take for too long, only its beginning is kept. In UTF-16 units.
inline constexpr std::size_t kept_units_of_longer_name = 10;

// Whether the header names a known version with minor version 0 and a length that the version, the longest record and
// the available bytes allow.
[[nodiscard]] bool header_is_plausible(const byte_view& record);

// The fields of a record by its major version, whatever they hold. Its header is plausible. They are read to where they
// stay: a copy made at once, in larger pieces than they were written in, would wait for each of them.
void read_fields(const byte_view& record, record_fields& out);

// Whether the bytes pass every check of the version-2 layout, with entry numbers below `entry_bound`. The header may
// name any known version; records of the others practically never pass.
[[nodiscard]] bool check_record_v2(byte_view record, std::uint64_t entry_bound);

// Each resets the decoded fields of `entry` and fills them when the record passes its version's checks. A record that
// does not is no error: `entry.valid` is 0 then. The fields of the run are left alone by v2 and v3 and cleared by v4.
void decode_record_v2(journal_entry& entry, const byte_view& record);
void decode_record_v3(journal_entry& entry, const byte_view& record);
void decode_record_v4(journal_entry& entry, const byte_view& record);

// What versions 3 and 4 have beside the fields: the upper halves of references, extents. `entry` has the record's
// version; the record is sound. Replaces what the entry had.
void keep_details(byte_view record, journal_entry& entry);

// Clears what the run, not the record, gives an entry: origin and label, status, path and pulled times, whether it is
// foreign.
void clear_run_fields(journal_entry& entry);
