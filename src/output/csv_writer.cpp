#include "output/csv_writer.h"

#include "journal/usn_text.h"
#include "output/entry_text.h"
#include "output/number_text.h"
#include "output/text_marks.h"

#include "base/utf.h"

#include <algorithm>
#include <cstring>

namespace uni {
namespace {

constexpr std::size_t number_width = 14;
constexpr std::size_t sequence_width = 10;
constexpr std::size_t sequence_digits = 4;
constexpr std::size_t number_digits = 8;
constexpr std::size_t longest_value = 40;  // of a time with its blanks; a number takes less

// Blanks up to `width`, which counts characters: a name with accents has more bytes than characters.
char* put_padding(char* to, std::size_t characters, std::size_t width) {
    return characters < width ? put_blanks(to, width - characters) : to;
}

// Of an ASCII text.
char* put_padded(char* to, std::string_view text, std::size_t width) {
    return put_padding(put_text(to, text), text.size(), width);
}

// Nearly always a few characters, for which a copy of fixed size is a plain store.
char* put_lead(char* to, const table_column& column) {
    if (column.lead.size() > column.short_lead.size()) return put_text(to, column.lead);
    std::memcpy(to, column.short_lead.data(), column.short_lead.size());
    return to + column.lead.size();
}

}  // namespace

csv_writer::csv_writer(const layout_settings& settings, bool with_paths)
    : settings_(settings),
      with_paths_(with_paths),
      multiline_(settings.chosen == layout::multiline),
      padding_(!settings.no_whitespace),
      blank_(padding_ ? " " : ""),
      line_end_(multiline_ ? "\n\n" : "\n"),
      time_columns_(settings.pair_date_time ? 1 : 2),
      times_(settings.time_format_flags, settings.complete ? time_range::any : time_range::usual),
      reasons_(reason_tokens),
      attributes_(attribute_tokens) {
    if (settings.complete) guard_.emplace(multiline_ ? std::string_view() : settings.separator);
    make_column_list();
}

record_fate csv_writer::write_record(const journal_entry& entry, text_buffer& out) {
    if (entry.version == 4 && settings_.complete) return record_fate::version_4;
    if (settings_.closed_only && (entry.reason & usn_reason::close) == 0) return record_fate::not_closed;
    if (!times_.format(entry.timestamp)) return record_fate::no_time;
    put_name_ = {};
    out.end_at(put_text(put_cells(entry, out), line_end_));
    return record_fate::written;
}

void csv_writer::write_header(text_buffer& out) {
    if (multiline_) return;
    char* to = out.room(fixed_room_);
    for (const table_column& column : column_list_) {
        to = put_lead(to, column);
        if (column.kind == column_kind::time && settings_.leading_space) *to++ = ' ';
        to = put_padded(to, own_words(column.name), column.width);
    }
    *to++ = '\n';
    out.end_at(to);
}

void csv_writer::add_column(std::string_view name, std::size_t width, column_kind kind) {
    table_column& column = column_list_.emplace_back();
    column.name = name;
    column.width = padding_ ? width : 0;
    column.kind = kind;
}

void csv_writer::add_time_columns(std::string_view paired_name, std::string_view date_name) {
    const std::size_t date_width = settings_.date_format.size();
    const std::size_t time_width = settings_.time_format.size();
    if (time_columns_ == 1) {
        add_column(paired_name, date_width + time_width + 1);
    } else {
        add_column(date_name, date_width);
        add_column("time-UTC", time_width, column_kind::time);
    }
}

// In the order of the cells: `put_cells` follows it.
void csv_writer::make_column_list() {
    add_time_columns("usndate [UTC]", "usndate");
    add_column("MFT entry", number_width);
    add_column("mft seqnum", sequence_width, column_kind::short_number);
    add_column("parent MFT", number_width);
    add_column("par seqnum", sequence_width);
    add_column("usn#", number_width);
    if (settings_.show_type) add_column("type", 7);
    if (settings_.show_offset) add_column("offset", number_width);
    add_column("attributes", 29);
    add_column("filename", 45);
    add_column("type change", 35);
    if (with_paths_) {
        add_column("MFT status", 10);
        if (settings_.pull_times) {
            add_time_columns("modify date [UTC]", "mdate");
            add_time_columns("access date [UTC]", "adate");
            add_time_columns("MFT date [UTC]", "mftdate");
            add_time_columns("create date [UTC]", "cdate");
        }
        add_column("Path", 10);
        if (settings_.path_history) {
            add_column("path basis", 10);
            add_column("Path now", 10);
        }
    }
    if (!settings_.user_name.empty()) add_column("user acct", 9);
    if (!settings_.host_name.empty()) add_column("host name", 9);
    if (multiline_) set_multiline_widths();
    set_leads();
    const std::size_t guarded = guard_ && guard_->guards_own_words() ? text_guard::longest_mark : 1;
    for (const table_column& column : column_list_) {
        fixed_room_ += column.lead.size() + column.width + guarded * (column.name.size() + longest_value);
    }
}

void csv_writer::set_leads() {
    for (table_column& column : column_list_) {
        const bool first = &column == &column_list_.front();
        if (!multiline_) {
            column.lead = first ? std::string() : settings_.separator;
        } else if (column.kind != column_kind::time) {  // which stands in the line of its date
            column.lead = (first ? "" : "\n") + column.name + std::string(name_width_ - column.name.size(), ' ');
        }
        std::copy_n(column.lead.data(), std::min(column.lead.size(), column.short_lead.size()),
                    column.short_lead.data());
        column.digits = column.width >= 2                          ? column.width - 2
                        : column.kind == column_kind::short_number ? sequence_digits
                                                                   : number_digits;
    }
}

// One width for every name, also without padding, and for every cell.
void csv_writer::set_multiline_widths() {
    for (table_column& column : column_list_) {
        column.name += ':';
        name_width_ = std::max(name_width_, column.name.size() + 1);
    }
    for (table_column& column : column_list_) column.width = padding_ ? name_width_ : 0;
}

// Up to the end of the last one.
char* csv_writer::put_cells(const journal_entry& entry, text_buffer& out) {
    const table_column* column = column_list_.data();
    char* to = put_time(out.room(fixed_room_), entry.timestamp, column);
    to = put_number(to, entry_number(entry.file_ref), *column++);
    to = put_number(to, sequence_number(entry.file_ref), *column++);
    to = put_number(to, entry_number(entry.parent_ref), *column++);
    to = put_number(to, sequence_number(entry.parent_ref), *column++);  // eight digits when unpadded
    to = put_number(to, static_cast<std::uint64_t>(entry.usn), *column++);
    if (settings_.show_type) to = put_token(out, to, origin_text(entry), *column++);
    if (settings_.show_offset) to = put_number(to, entry.record_offset, *column++);
    to = put_token(out, to, attributes_.text_of(entry.file_attributes), *column++);
    to = put_name_and_path(out, to, {}, true, entry.name, *column++);
    to = put_token(out, to, reasons_.text_of(entry.reason), *column++);
    if (with_paths_) to = put_path_cells(entry, out, to, column);
    if (!settings_.user_name.empty()) to = put_user_text(out, to, settings_.user_name, *column++);
    return settings_.host_name.empty() ? to : put_user_text(out, to, settings_.host_name, *column);
}

char* csv_writer::put_path_cells(const journal_entry& entry, text_buffer& out, char* to, const table_column*& column) {
    to = put_token(out, to, status_word(entry.status), *column++);
    if (settings_.pull_times) {
        const bool known = entry.status == mft_status::valid || entry.status == mft_status::remnant;
        for (const std::uint64_t time :
             {entry.index_modified, entry.index_accessed, entry.index_mft_changed, entry.index_created}) {
            to = put_time(to, known ? time : 0, column);
        }
    }
    if (!settings_.path_history && entry.status == mft_status::parent_gone) {
        return put_token(out, to, parent_gone_text, *column++);
    }
    const bool plain = is_plain_path(entry.parent_path, entry.path_number, plain_paths_);
    to = put_name_and_path(out, to, entry.parent_path, plain, entry.name, *column++);
    if (!settings_.path_history) return to;
    to = put_token(out, to, basis_word(entry.basis), *column++);
    if (entry.path_now.empty()) return put_token(out, to, {}, *column++);
    const bool plain_now = is_plain_path(entry.path_now, entry.path_now_number, plain_paths_now_);
    return put_name_and_path(out, to, entry.path_now, plain_now, entry.name, *column++);
}

// Looked at once for each path.
bool csv_writer::is_plain_path(std::string_view path, std::uint32_t number, std::vector<std::uint8_t>& looked_at) {
    enum : std::uint8_t { unknown, plain, not_plain };
    if (number == 0) return path.empty();
    if (number >= looked_at.size()) looked_at.resize(2 * std::size_t{number}, unknown);
    std::uint8_t& known = looked_at[number];
    if (known == unknown) {
        const auto stays = [this](char c) { return c > '\r' && c < '\x7f' && c != settings_.replaced_character; };
        const bool as_it_is = guard_ ? guard_->is_plain(path) : std::ranges::all_of(path, stays);
        known = as_it_is ? plain : not_plain;
    }
    return known == plain;
}

// Keeps room ahead for the cells that follow, as the other texts do.
char* csv_writer::put_token(text_buffer& out, char* to, std::string_view text, const table_column& column) {
    const std::string_view own = own_words(text);
    to = put_lead(to, column);
    return put_padded(out.room(to, own.size() + fixed_room_), own, column.width);
}

char* csv_writer::put_user_text(text_buffer& out, char* to, std::string_view text, const table_column& column) {
    return put_evidence(out, put_lead(to, column), text, column.width);
}

// In UTF-8.
char* csv_writer::put_evidence(text_buffer& out, char* to, std::string_view text, std::size_t width) {
    const std::string_view shown = table_text_of(text);
    to = put_text(out.room(to, shown.size() + fixed_room_), shown);
    return width == 0 ? to : put_padding(to, count_characters(shown), width);
}

// `plain`: of the path nothing has to be replaced or marked and every character is one byte.
char* csv_writer::put_name_and_path(text_buffer& out, char* to, std::string_view path, bool plain,
                                    std::u16string_view name, const table_column& column) {
    const std::size_t units = path.size() + name.size();
    to = out.room(put_lead(to, column), units + fixed_room_);
    if (plain) put_text(to, path);
    if (plain && put_name(out, to + path.size(), name)) return put_padding(to + units, units, column.width);
    full_path(path, name, guard_.has_value(), name_);
    return put_evidence(out, to, name_, column.width);
}

// A path ends with the name that stands in the line already. False when the name is not plain.
bool csv_writer::put_name(const text_buffer& out, char* to, std::u16string_view name) {
    if (!name.empty() && name.data() == put_name_.data() && name.size() == put_name_.size()) {
        put_again(to, out.data() + put_name_place_, name.size());
        return true;
    }
    const bool plain =
        guard_ ? guard_->put_plain_name(name, to) : put_plain_name(name, settings_.replaced_character, to);
    if (!plain) return false;
    put_name_ = name;
    put_name_place_ = static_cast<std::size_t>(to - out.data());
    return true;
}

// A text from evidence or the user as it stands in the table; holds until the next one.
std::string_view csv_writer::table_text_of(std::string_view text) {
    return guard_ ? guard_->guarded(text, scratch_) : table_text(text, settings_, scratch_);
}

// The same for what can hold nothing but the separator.
std::string_view csv_writer::own_words(std::string_view text) {
    return guard_ && guard_->guards_own_words() ? table_text_of(text) : text;
}

char* csv_writer::put_number(char* to, std::uint64_t value, const table_column& column) const {
    to = put_lead(to, column);
    return settings_.hexadecimal ? put_hexadecimal(to, value, column.digits) : put_decimal(to, value, column.width);
}

char* csv_writer::put_time(char* to, std::uint64_t filetime, const table_column*& column) {
    const bool valid = times_.format(filetime);
    to = put_lead(to, *column);
    return time_columns_ == 1 ? put_paired_time(to, valid, *column++) : put_split_time(to, valid, column);
}

// Two columns, under -multiline one line. The leading space stays without padding: only -no_whitespace takes it away.
char* csv_writer::put_split_time(char* to, bool valid, const table_column*& column) {
    to = put_padded(to, valid ? own_words(times_.date()) : blank_, column->width);
    to = put_lead(to, *++column);
    if (settings_.leading_space) *to++ = ' ';
    return put_padded(to, valid ? own_words(times_.time()) : blank_, (column++)->width);
}

// The leading space stands outside the column's width.
char* csv_writer::put_paired_time(char* to, bool valid, const table_column& column) {
    if (settings_.leading_space && padding_) *to++ = ' ';
    const char* const begin = to;
    to = put_text(to, valid ? own_words(times_.date()) : blank_);
    *to++ = ' ';
    to = put_text(to, valid ? own_words(times_.time()) : blank_);
    return put_padding(to, static_cast<std::size_t>(to - begin), column.width);
}

}  // namespace uni
