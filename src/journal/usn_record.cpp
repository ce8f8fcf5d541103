#include "journal/usn_record.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr std::uint16_t highest_sequence_number = 0xF000;
constexpr std::uint32_t highest_file_attributes = 0x500000;

// Names of more units than this are damage more often than names.
constexpr std::size_t longest_name_units = 200;

// Versions 2 and 3 hold the same fields at different places.
struct named_layout {
    std::size_t file_reference, parent_reference, usn, timestamp, reason, source_info, security_id, file_attributes,
        name_length, name_offset, fixed_size;
    // A version-2 length and name are compared in 16 bits, so that a damaged name length can wrap and still pass.
    bool name_end_wraps;
    std::uint8_t version;
};

constexpr named_layout layout_v2{usn_v2::file_reference,
                                 usn_v2::parent_reference,
                                 usn_v2::usn,
                                 usn_v2::timestamp,
                                 usn_v2::reason,
                                 usn_v2::source_info,
                                 usn_v2::security_id,
                                 usn_v2::file_attributes,
                                 usn_v2::name_length,
                                 usn_v2::name_offset,
                                 usn_v2::fixed_size,
                                 true,
                                 2};

constexpr named_layout layout_v3{usn_v3::file_reference,
                                 usn_v3::parent_reference,
                                 usn_v3::usn,
                                 usn_v3::timestamp,
                                 usn_v3::reason,
                                 usn_v3::source_info,
                                 usn_v3::security_id,
                                 usn_v3::file_attributes,
                                 usn_v3::name_length,
                                 usn_v3::name_offset,
                                 usn_v3::fixed_size,
                                 false,
                                 3};

std::uint32_t shortest_record_of(std::uint16_t major_version) {
    switch (major_version) {
        case 2: return usn_v2::shortest_record;
        case 3: return usn_v3::shortest_record;
        case 4: return usn_v4::shortest_record;
        default: return 0;
    }
}

bool file_sequence_is_plausible(std::uint64_t file_reference) {
    const std::uint16_t sequence = sequence_number(file_reference);
    return sequence != 0 && sequence <= highest_sequence_number;
}

bool parent_sequence_is_plausible(std::uint64_t parent_reference) {
    return sequence_number(parent_reference) <= highest_sequence_number;
}

template <const named_layout& at>
bool check_named_record(const byte_view& record, std::uint64_t entry_bound) {
    if (!header_is_plausible(record) || !record.fits(0, at.fixed_size)) return false;
    const auto file_ref = record.value<std::uint64_t>(at.file_reference);
    const auto parent_ref = record.value<std::uint64_t>(at.parent_reference);
    const std::uint32_t name_end =
        record.value<std::uint16_t>(at.name_length) + static_cast<std::uint32_t>(at.fixed_size);
    return record.value<std::uint64_t>(at.timestamp) != 0 && entry_number(parent_ref) < entry_bound &&
           parent_sequence_is_plausible(parent_ref) && entry_number(file_ref) < entry_bound &&
           file_sequence_is_plausible(file_ref) && record.value<std::uint16_t>(at.name_offset) == at.fixed_size &&
           record.value<std::uint64_t>(at.usn) != 0 &&
           record.value<std::uint32_t>(at.file_attributes) <= highest_file_attributes &&
           record.value<std::uint32_t>(usn_header::record_length) >=
               (at.name_end_wraps ? name_end & 0xFFFFU : name_end);
}

// The name starts at its fixed place, wherever the record says; it may run past the record, never past the view. True
// when all of it was copied.
bool copy_name(const byte_view& record, std::size_t name_at, std::size_t name_bytes, std::u16string& name) {
    std::size_t units = name_bytes / sizeof(char16_t);
    if (units > longest_name_units) units = kept_units_of_longer_name;
    const auto available = record.from(name_at).bytes();
    units = std::min(units, available.size() / sizeof(char16_t));
    name.resize(units);
    // Not memcpy: where gcc sees how long a text is at most it copies with a string instruction, which is slow to
    // begin.
    if (units != 0) std::memmove(name.data(), available.data(), units * sizeof(char16_t));
    return units * sizeof(char16_t) == name_bytes;
}

void keep_upper_halves(std::uint64_t file_ref, std::uint64_t parent_ref, journal_entry& entry) {
    entry.has_details = entry.has_details || file_ref != 0 || parent_ref != 0;
    entry.details.file_ref_high = file_ref;
    entry.details.parent_ref_high = parent_ref;
}

// Those that the record has room for, whatever it counts.
void copy_extents(byte_view record, journal_entry& entry) {
    constexpr std::size_t length_field = sizeof(std::uint64_t);
    constexpr std::size_t shortest = 2 * sizeof(std::uint64_t);
    const std::size_t end = record.value<std::uint32_t>(usn_header::record_length);
    const std::size_t count = record.value<std::uint16_t>(usn_v4::extent_count);
    const std::size_t each = std::max<std::size_t>(record.value<std::uint16_t>(usn_v4::extent_size), shortest);
    std::vector<file_extent>& extents = entry.details.extents;
    for (std::size_t at = usn_v4::fixed_size; extents.size() < count && at + shortest <= end; at += each) {
        extents.push_back({static_cast<std::int64_t>(record.value<std::uint64_t>(at)),
                           static_cast<std::int64_t>(record.value<std::uint64_t>(at + length_field))});
    }
    entry.details.remaining_extents = record.value<std::uint32_t>(usn_v4::remaining_extents);
    if (!extents.empty() || entry.details.remaining_extents != 0) entry.has_details = true;
}

void reset_details(journal_entry& entry) {
    if (!entry.has_details) return;
    entry.has_details = false;
    entry.details.extents.clear();
    entry.details = {.extents = std::move(entry.details.extents)};
}

void reset_decoded_fields(journal_entry& entry) {
    entry.fields() = {};
    entry.valid = 0;
    entry.name.clear();
    entry.record_offset = 0;
    entry.version = 0;
    reset_details(entry);
}

template <const named_layout& at>
void read_named_fields(const byte_view& record, record_fields& out) {
    out.file_ref = record.value<std::uint64_t>(at.file_reference);
    out.parent_ref = record.value<std::uint64_t>(at.parent_reference);
    out.usn = static_cast<std::int64_t>(record.value<std::uint64_t>(at.usn));
    out.timestamp = record.value<std::uint64_t>(at.timestamp);
    out.reason = record.value<std::uint32_t>(at.reason);
    out.source_info = record.value<std::uint32_t>(at.source_info);
    out.security_id = record.value<std::uint32_t>(at.security_id);
    out.file_attributes = record.value<std::uint32_t>(at.file_attributes);
}

void read_fields_v4(const byte_view& record, record_fields& out) {
    out.file_ref = record.value<std::uint64_t>(usn_v4::file_reference);
    out.parent_ref = record.value<std::uint64_t>(usn_v4::parent_reference);
    out.usn = static_cast<std::int64_t>(record.value<std::uint64_t>(usn_v4::usn));
    out.timestamp = 0;
    out.reason = record.value<std::uint32_t>(usn_v4::reason);
    out.source_info = record.value<std::uint32_t>(usn_v4::source_info);
    out.security_id = 0;
    out.file_attributes = 0;
}

template <const named_layout& at>
void decode_named_record(journal_entry& entry, const byte_view& record) {
    reset_decoded_fields(entry);
    if (!check_named_record<at>(record, any_entry_number)) return;
    read_named_fields<at>(record, entry);
    entry.valid = 1;
    entry.version = at.version;
    entry.record_offset = record.image_offset();
    if constexpr (at.version != 2) keep_details(record, entry);
    if (!copy_name(record, at.fixed_size, record.value<std::uint16_t>(at.name_length), entry.name)) {
        entry.has_details = entry.details.name_is_cut = true;
    }
}

bool check_record_v4(const byte_view& record) {
    if (!header_is_plausible(record) || !record.fits(0, usn_v4::fixed_size)) return false;
    const auto file_ref = record.value<std::uint64_t>(usn_v4::file_reference);
    const auto parent_ref = record.value<std::uint64_t>(usn_v4::parent_reference);
    return entry_number(file_ref) < any_entry_number && file_sequence_is_plausible(file_ref) &&
           parent_sequence_is_plausible(parent_ref) && record.value<std::uint64_t>(usn_v4::usn) != 0;
}

}  // namespace

void keep_details(byte_view record, journal_entry& entry) {
    reset_details(entry);
    if (entry.version == 2) return;
    if (entry.version == 4) copy_extents(record, entry);
    static_assert(usn_v3::file_reference == usn_v4::file_reference);
    static_assert(usn_v3::parent_reference == usn_v4::parent_reference);
    keep_upper_halves(record.value<std::uint64_t>(usn_v3::file_reference + upper_half),
                      record.value<std::uint64_t>(usn_v3::parent_reference + upper_half), entry);
}

bool header_is_plausible(const byte_view& record) {
    if (!record.fits(0, usn_header::size)) return false;
    const auto length = record.value<std::uint32_t>(usn_header::record_length);
    const std::uint32_t shortest = shortest_record_of(record.value<std::uint16_t>(usn_header::major_version));
    return shortest != 0 && record.value<std::uint16_t>(usn_header::minor_version) == 0 &&
           length <= usn_header::longest_record && length >= shortest && length <= record.size();
}

void read_fields(const byte_view& record, record_fields& out) {
    switch (record.value<std::uint16_t>(usn_header::major_version)) {
        case 2: read_named_fields<layout_v2>(record, out); break;
        case 3: read_named_fields<layout_v3>(record, out); break;
        default: read_fields_v4(record, out); break;
    }
}

bool check_record_v2(byte_view record, std::uint64_t entry_bound) {
    return check_named_record<layout_v2>(record, entry_bound);
}

void decode_record_v2(journal_entry& entry, const byte_view& record) { decode_named_record<layout_v2>(entry, record); }

void decode_record_v3(journal_entry& entry, const byte_view& record) { decode_named_record<layout_v3>(entry, record); }

void decode_record_v4(journal_entry& entry, const byte_view& record) {
    reset_decoded_fields(entry);
    if (check_record_v4(record)) {
        read_fields_v4(record, entry);
        entry.valid = 1;
        entry.record_offset = record.image_offset();
        entry.version = 4;
        keep_details(record, entry);
    }
    clear_run_fields(entry);
}

void clear_run_fields(journal_entry& entry) {
    entry.origin = record_origin::journal;
    entry.snapshot_label = {};
    entry.foreign = false;
    entry.also_in = {};
    entry.status = mft_status::entry_gone;
    entry.parent_path = {};
    entry.path_number = 0;
    entry.index_created = 0;
    entry.index_modified = 0;
    entry.index_mft_changed = 0;
    entry.index_accessed = 0;
}
