// journal/sound_record.h: which bytes are a sound change record, whatever values its fields hold, and its fields as
// they lie there: whole names, any attributes, any sequence number, USN 0. For what must not lose a record that Windows
// wrote, where usn_record.h keeps to narrower bounds. A record read here points into the bytes that it was read from.
#pragma once

#include "base/byte_view.h"
#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t longest_ntfs_name = 255;  // UTF-16 units

struct sound_record : record_fields {
    std::uint16_t version = 0;  // 2, 3 or 4
    std::uint32_t length = 0;   // bytes, of the whole record
    bool beyond_ntfs = false;   // a high half of its references is not zero
    byte_view name;             // UTF-16LE, at most 255 units; empty in version 4

    [[nodiscard]] bool name_holds_nul() const;
};

// The record at the beginning of the bytes, which may reach behind it. Sound in a journal: a known version with minor
// version 0, the length a multiple of 8 up to 4096 that the version and the bytes allow, entry numbers below 2^48 - 1,
// and in versions 2 and 3 a time that is not 0 and a name of whole UTF-16 units, at most 255, that begins behind the
// fixed part and ends inside the record. False, and `out` unspecified, when it is not.
//
// Of random bytes one position in 2^68 passes for version 2 or 3 each: 16 bits for either half of the version, 2^-36
// for length, name length and name offset together. For version 4 it is one in 2^55, of which 23 bits are the length's.
[[nodiscard]] bool read_sound_record(const byte_view& bytes, sound_record& out);

// The same for bytes of free space, where any may stand, for versions 2 and 3 only. Also wanted: a time in the
// years 1990 to 2100, the name right behind the fixed part, a length that is exactly the name's end rounded up to 8, a
// USN that is a multiple of 8 and not negative, no unknown reason, no NUL in the name, no sequence number 0.
//
// Of random bytes one position in 2^109 passes for either version: length 2^-32, version 2^-32, name offset 2^-16, name
// length 2^-8, time 2^-9, reason 2^-8, USN 2^-4. A disk of 16 TiB has 2^41 positions.
[[nodiscard]] bool read_sound_stray(byte_view bytes, sound_record& out);
