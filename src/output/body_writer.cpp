#include "output/body_writer.h"

#include "base/filetime.h"
#include "base/text.h"
#include "output/macb.h"
#include "output/number_text.h"

namespace uni {
namespace {

constexpr std::size_t room_without_name = 16 + 5 * number_room(0);  // of a line without its name

constexpr std::uint64_t filetime_of_1970 = 116'444'736'000'000'000;

// A time before 1970 wraps around; one that no calendar has is 0, like the slot without a time.
constexpr std::uint64_t unix_seconds(std::uint64_t filetime) {
    if (filetime == 0 || (filetime >> 63U) != 0) return 0;
    return (filetime - filetime_of_1970) / ticks_per_second;
}

// Any time but 0, the slot without one; before 1970 negative, rounded towards the past as any other time is.
char* put_unix_time(char* to, std::uint64_t filetime) {
    if (filetime == 0 || filetime >= filetime_of_1970) {
        return put_decimal(to, filetime == 0 ? 0 : (filetime - filetime_of_1970) / ticks_per_second, 0);
    }
    *to++ = '-';
    return put_decimal(to, (filetime_of_1970 - filetime + ticks_per_second - 1) / ticks_per_second, 0);
}

}  // namespace

record_fate body_writer::write_record(const journal_entry& entry, text_buffer& out) {
    if (entry.version == 4 && complete_) return record_fate::version_4;
    const std::string_view name = name_of(entry);
    const slot_times times = slot_times_of(entry);
    char* to = out.room(name.size() + room_without_name);
    to = put_text(to, "0|");
    to = put_text(to, name);
    *to++ = '|';
    to = put_decimal(to, entry_number(entry.file_ref), 0);
    to = put_text(to, "||0|0|0");
    for (const std::uint64_t time : {times.accessed, times.modified, times.changed, times.born}) {
        *to++ = '|';
        to = complete_ ? put_unix_time(to, time) : put_decimal(to, unix_seconds(time), 0);
    }
    *to++ = '\n';
    out.end_at(to);
    return record_fate::written;
}

std::string_view body_writer::name_of(const journal_entry& entry) {
    const std::string_view name = names_.of(entry.name);
    if (!with_full_path_) return name;
    if (complete_) {
        path_ = guard_.guarded(entry.parent_path, guarded_);
    } else {
        path_ = entry.parent_path;
        replace_all(path_, '|', ';');
    }
    return path_ += name;
}

}  // namespace uni
