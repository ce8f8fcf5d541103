#include "output/json_writer.h"

#include "base/case_folding.h"
#include "base/file_reference.h"
#include "base/text.h"
#include "base/utf.h"
#include "journal/usn_text.h"
#include "output/entry_text.h"
#include "output/json_text.h"
#include "output/json_tokens.h"

#include <charconv>
#include <concepts>

namespace uni {
namespace {

// Enough for a record without its name, its path, its extents and what the run is called.
constexpr std::size_t room_without_texts = 4096;
constexpr std::size_t room_of_extent = 48;
constexpr std::size_t longest_number = 20;

// The key, or whatever else is known here, so that the copy is a few plain stores.
template <std::size_t size>
char* put_literal(char* to, const char (&text)[size]) {
    return put_text(to, std::string_view(text, size - 1));
}

char* put_number(char* to, std::integral auto value) { return std::to_chars(to, to + longest_number, value).ptr; }

// `key` with its quotes, the comma before and the colon behind it.
template <std::size_t size>
char* put_number_field(char* to, const char (&key)[size], std::integral auto value) {
    return put_number(put_literal(to, key), value);
}

// Of a text without anything to escape.
template <std::size_t size>
char* put_text_field(char* to, const char (&key)[size], std::string_view text) {
    to = put_text(put_literal(to, key), text);
    *to++ = '"';
    return to;
}

// What stands in the same buffer already.
template <std::size_t size>
char* put_copy_field(char* to, const char (&key)[size], const char* from, const char* end) {
    to = put_again(put_literal(to, key), from, static_cast<std::size_t>(end - from));
    *to++ = '"';
    return to;
}

char* put_hex_digits(char* to, std::uint64_t value, unsigned digits) {
    for (unsigned left = digits; left-- > 0;) *to++ = "0123456789abcdef"[value >> 4U * left & 0xFU];
    return to;
}

// `entry-sequence`, or the digits of one of 128 bits, which names no entry of an MFT.
template <std::size_t size>
char* put_reference(char* to, const char (&key)[size], std::uint64_t high, std::uint64_t reference) {
    to = put_literal(to, key);
    if (high != 0) {
        to = put_hex_digits(put_hex_digits(to, high, 16), reference, 16);
    } else {
        to = put_number(to, entry_number(reference));
        *to++ = '-';
        to = put_number(to, sequence_number(reference));
    }
    *to++ = '"';
    return to;
}

std::string_view origin_word(record_origin origin) {
    switch (origin) {
        case record_origin::unallocated: return "unallocated";
        case record_origin::shadow_copy: return "shadow_copy";
        case record_origin::slack: return "slack";
        case record_origin::journal: break;
    }
    return "journal";
}

char* put_lower_case(char* to, std::u16string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        char32_t point = 0;
        (void)read_code_point(text, at, point);
        to = put_json(to, folded(point));
    }
    return to;
}

char* put_extents(char* to, const record_details& details) {
    to = put_literal(to, ",\"extents\":[");
    for (const file_extent& extent : details.extents) {
        *to++ = '[';
        to = put_number(to, extent.offset);
        *to++ = ',';
        to = put_number(to, extent.length);
        to = put_literal(to, "],");
    }
    if (!details.extents.empty()) --to;
    *to++ = ']';
    return to;
}

// Of a shadow copy its label tells more.
std::string_view place_text(const found_elsewhere& place) {
    return place.label.empty() ? origin_word(place.origin) : place.label;
}

std::size_t room_of(std::span<const found_elsewhere> places) {
    constexpr std::size_t quotes_and_comma = 3;
    std::size_t bytes = 0;
    for (const found_elsewhere& place : places) bytes += place_text(place).size() + quotes_and_comma;
    return bytes;
}

char* put_others(char* to, std::span<const found_elsewhere> places) {
    to = put_literal(to, ",\"also_in\":[");
    for (const found_elsewhere& place : places) {
        *to++ = '"';
        to = put_text(put_text(to, place_text(place)), "\",");
    }
    to[-1] = ']';
    return to;
}

char* put_origin(char* to, const journal_entry& entry) {
    to = put_text_field(to, ",\"record_origin\":\"", origin_word(entry.origin));
    if (!entry.snapshot_label.empty()) to = put_text_field(to, ",\"snapshot\":\"", entry.snapshot_label);
    if (!entry.also_in.empty()) to = put_others(to, entry.also_in);
    if (entry.foreign) to = put_literal(to, ",\"foreign\":true");
    return to;
}

}  // namespace

json_writer::json_writer(const layout_settings& settings, bool with_paths, std::string_view source)
    : settings_(settings),
      with_paths_(with_paths),
      message_ends_(json_message_end),
      descriptions_(json_description),
      reasons_(json_reason),
      attributes_(json_attributes),
      run_fields_(",\"source\":" + json_string(source)) {
    if (!settings.host_name.empty()) run_fields_ += ",\"host\":" + json_string(settings.host_name);
    if (!settings.user_name.empty()) run_fields_ += ",\"user\":" + json_string(settings.user_name);
    run_fields_ += "}\n";
}

record_fate json_writer::write_record(const journal_entry& entry, text_buffer& out) {
    const bool timed = entry.timestamp != 0 && entry.timestamp < end_of_iso_times;
    if (entry.valid == 0) return record_fate::not_sound;
    if (settings_.closed_only) {
        if (entry.version == 4) return record_fate::version_4;
        if ((entry.reason & usn_reason::close) == 0) return record_fate::not_closed;
        if (!timed) return record_fate::no_time;
    }
    constexpr std::size_t times_written = 6;  // of a name: in the message, under four keys, once in digits
    const std::size_t texts =
        times_written * most_json_bytes * (entry.name.size() + entry.parent_path.size() + entry.path_now.size());
    const std::size_t extents = entry.has_details ? room_of_extent * entry.details.extents.size() : 0;
    char* to = out.room(room_without_texts + texts + extents + entry.snapshot_label.size() + room_of(entry.also_in) +
                        run_fields_.size());
    to = put_event(to, entry, timed);
    if (entry.version != 4) to = put_names(to, entry);
    if (with_paths_) to = put_place(to, entry);
    to = put_change(to, entry);
    if (with_paths_ && settings_.pull_times) to = put_pulled_times(to, entry);
    to = put_origin(to, entry);
    to = put_number_field(to, ",\"usn_version\":", entry.version);
    if (settings_.show_offset) to = put_number_field(to, ",\"offset\":", entry.record_offset);
    out.end_at(put_text(to, run_fields_));
    return record_fate::written;
}

// Message and time, and what they are.
char* json_writer::put_event(char* to, const journal_entry& entry, bool timed) {
    to = put_literal(to, "{\"message\":\"");
    if (entry.version == 4) {
        to = put_literal(to, "range change");
    } else {
        directory_ = to;
        if (with_paths_) to = put_json(to, from_root(entry.parent_path));
        name_ = to;
        name_is_whole_ = true;
        to = put_json(to, entry.name, name_is_whole_);
        name_end_ = to;
        to = put_text(to, message_ends_.text_of(entry.reason));
    }
    to = put_literal(to, "\",\"datetime\":\"");
    if (timed) {
        to = put_text(to, times_.text_of(entry.timestamp));
        to = put_number_field(to, "\",\"timestamp\":", microseconds_since_1970(entry.timestamp));
        to = put_text(to, descriptions_.text_of(entry.reason));
    } else {
        to = put_text(to,
                      "1970-01-01T00:00:00.0000000+00:00\",\"timestamp\":0,\"timestamp_desc\":\"USN Without Time\""
                      ",\"time_missing\":true");
    }
    return put_literal(to, ",\"data_type\":\"fs:ntfs:usn_change\"");
}

char* json_writer::put_names(char* to, const journal_entry& entry) {
    to = put_copy_field(to, ",\"filename\":\"", name_, name_end_);
    if (const std::u16string_view extension = extension_of(entry.name); !extension.empty()) {
        to = put_lower_case(put_literal(to, ",\"extension\":\""), extension);
        *to++ = '"';
    }
    if (name_is_whole_) return to;
    to = put_literal(to, ",\"filename_utf16\":\"");
    for (const char16_t unit : entry.name) to = put_hex_digits(to, unit, 4);
    *to++ = '"';
    return to;
}

// A record without a name has no path of its own.
char* json_writer::put_place(char* to, const journal_entry& entry) {
    if (const std::string_view directory = from_root(entry.parent_path); !directory.empty()) {
        if (entry.version != 4) to = put_copy_field(to, ",\"path\":\"", directory_, name_end_);
        const bool root_itself = directory.size() == 1;
        to = put_literal(to, ",\"directory\":\"");
        to = put_json(to, root_itself ? directory : directory.substr(0, directory.size() - 1));
        *to++ = '"';
    }
    if (settings_.path_history) to = put_history(to, entry);
    const std::string_view status = status_word(entry.status);
    return status.empty() ? to : put_text_field(to, ",\"mft_status\":\"", status);
}

char* json_writer::put_history(char* to, const journal_entry& entry) {
    to = put_text_field(to, ",\"path_basis\":\"", basis_word(entry.basis));
    if (entry.path_now.empty() || entry.version == 4) return to;
    to = put_json(put_literal(to, ",\"path_now\":\""), from_root(entry.path_now));
    to = put_again(to, name_, static_cast<std::size_t>(name_end_ - name_));
    *to++ = '"';
    return to;
}

char* json_writer::put_change(char* to, const journal_entry& entry) {
    const std::uint64_t file_high = entry.has_details ? entry.details.file_ref_high : 0;
    const std::uint64_t parent_high = entry.has_details ? entry.details.parent_ref_high : 0;
    to = put_reference(to, ",\"file_reference\":\"", file_high, entry.file_ref);
    to = put_reference(to, ",\"parent_file_reference\":\"", parent_high, entry.parent_ref);
    if (file_high == 0) {
        to = put_number_field(to, ",\"mft_entry\":", entry_number(entry.file_ref));
        to = put_number_field(to, ",\"mft_sequence\":", sequence_number(entry.file_ref));
    }
    if (parent_high == 0) {
        to = put_number_field(to, ",\"parent_entry\":", entry_number(entry.parent_ref));
        to = put_number_field(to, ",\"parent_sequence\":", sequence_number(entry.parent_ref));
    }
    to = put_number_field(to, ",\"update_sequence_number\":", entry.usn);
    to = put_text(to, reasons_.text_of(entry.reason));
    to = put_number_field(to, ",\"update_source_flags\":", entry.source_info);
    if (entry.version == 4) return entry.has_details ? put_extents(to, entry.details) : to;
    to = put_number_field(to, ",\"security_id\":", entry.security_id);
    return put_text(to, attributes_.text_of(entry.file_attributes));
}

char* json_writer::put_pulled_times(char* to, const journal_entry& entry) {
    const auto put_time = [this, &to](const auto& key, std::uint64_t time) {
        if (time != 0 && time < end_of_iso_times) to = put_text_field(to, key, pulled_times_.text_of(time));
    };
    put_time(",\"file_modified\":\"", entry.index_modified);
    put_time(",\"file_accessed\":\"", entry.index_accessed);
    put_time(",\"file_mft_changed\":\"", entry.index_mft_changed);
    put_time(",\"file_created\":\"", entry.index_created);
    return to;
}

}  // namespace uni
