#include "journal/sound_record.h"

#include "base/file_reference.h"
#include "journal/usn_record.h"

#include <algorithm>

namespace {

constexpr std::uint64_t entry_numbers_end = 0xFFFFFFFFFFFF;

// FILETIMEs.
constexpr std::uint64_t begin_of_1990 = 122'756'256'000'000'000;
constexpr std::uint64_t begin_of_2101 = 157'784'544'000'000'000;

// Every bit that Windows sets, those of transactions, integrity and storage class with them.
constexpr std::uint32_t known_reasons = 0x81FFFF77;

bool has_upper_halves(const byte_view& bytes) {
    return bytes.value<std::uint64_t>(usn_v3::file_reference + upper_half) != 0 ||
           bytes.value<std::uint64_t>(usn_v3::parent_reference + upper_half) != 0;
}

std::size_t fixed_size_of(std::uint16_t version) { return version == 2 ? usn_v2::fixed_size : usn_v3::fixed_size; }

bool find_name(const byte_view& bytes, sound_record& out) {
    const bool wide = out.version != 2;
    const std::size_t units_twice = bytes.value<std::uint16_t>(wide ? usn_v3::name_length : usn_v2::name_length);
    const std::size_t begin = bytes.value<std::uint16_t>(wide ? usn_v3::name_offset : usn_v2::name_offset);
    return begin >= fixed_size_of(out.version) && begin + units_twice <= out.length && units_twice % 2 == 0 &&
           units_twice <= 2 * longest_ntfs_name && bytes.sub(begin, units_twice, out.name);
}

}  // namespace

bool sound_record::name_holds_nul() const {
    // Four units at a time: taking 1 from each sets the top bit of one that is 0, and else only what a borrow reaches.
    constexpr std::uint64_t lowest_bits = 0x0001000100010001;
    std::size_t at = 0;
    for (std::uint64_t four = 0; name.get(at, four); at += sizeof four) {
        if (((four - lowest_bits) & ~four & lowest_bits << 15U) != 0) return true;
    }
    for (std::uint16_t unit = 0; name.get(at, unit); at += sizeof unit) {
        if (unit == 0) return true;
    }
    return false;
}

bool read_sound_record(const byte_view& bytes, sound_record& out) {
    if (!bytes.fits(0, usn_v2::fixed_size) || !header_is_plausible(bytes)) return false;
    out.length = bytes.value<std::uint32_t>(usn_header::record_length);
    out.version = bytes.value<std::uint16_t>(usn_header::major_version);
    read_fields(bytes, out);
    out.beyond_ntfs = out.version != 2 && has_upper_halves(bytes);
    if (out.length % 8 != 0 || entry_number(out.file_ref) >= entry_numbers_end ||
        entry_number(out.parent_ref) >= entry_numbers_end) {
        return false;
    }
    if (out.version != 4) return out.timestamp != 0 && find_name(bytes, out);
    out.name = {};
    return true;
}

bool read_sound_stray(byte_view bytes, sound_record& out) {
    if (!read_sound_record(bytes, out) || out.version == 4) return false;
    const std::size_t fixed_size = fixed_size_of(out.version);
    return out.timestamp >= begin_of_1990 && out.timestamp < begin_of_2101 &&
           out.name.image_offset() == bytes.image_offset() + fixed_size &&
           out.length == (fixed_size + out.name.size() + 7) / 8 * 8 && out.usn >= 0 && out.usn % 8 == 0 &&
           (out.reason & ~known_reasons) == 0 && sequence_number(out.file_ref) != 0 &&
           sequence_number(out.parent_ref) != 0 && !out.name_holds_nul();
}
