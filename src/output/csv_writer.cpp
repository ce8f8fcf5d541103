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
constexpr std::size_t longest_value = 40;  // of a time with its blanks; a number takes less

// Blanks up to `width`, which counts characters: a name with accents has more bytes than characters.
char* put_padding(char* to, std::size_t characters, std::size_t width) {
    return characters < width ? put_blanks(to, width - characters) : to;
}

// Of an ASCII text.
char* put_padded(char* to, std::string_view text, std::size_t width) {
    return put_padding(put_text(to, text), text.size(), width);
}

}  // namespace

csv_writer::csv_writer(const layout_settings& settings, bool with_paths)
    : settings_(settings),
      with_paths_(with_paths),
      multiline_(settings.chosen == layout::multiline),
      padding_(!settings.no_whitespace),
      blank_(padding_ ? " " : ""),
      separator_length_(settings.separator.size()),
      time_kind_(settings.pair_date_time ? cell_kind::paired_time : cell_kind::split_time),
      times_(settings.time_format_flags, settings.complete ? time_range::any : time_range::usual),
      reasons_(reason_tokens),
      attributes_(attribute_tokens) {
    std::copy_n(settings.separator.data(), std::min(separator_length_, short_separator_.size()),
                short_separator_.data());
    if (settings.complete) guard_.emplace(multiline_ ? std::string_view() : settings.separator);
    make_column_list();
}

record_fate csv_writer::write_record(const journal_entry& entry, text_buffer& out) {
    if (entry.version == 4 && settings_.complete) return record_fate::version_4;
    if (settings_.closed_only && (entry.reason & usn_reason::close) == 0) return record_fate::not_closed;
    if (!times_.format(entry.timestamp)) return record_fate::no_time;
    fill_row(entry);
    write_row(row_, out);
    return record_fate::written;
}

void csv_writer::write_header(text_buffer& out) {
    if (multiline_) return;
    char* to = out.room(fixed_room_);
    for (std::size_t i = 0; i < column_list_.size(); ++i) {
        const table_column& column = column_list_[i];
        if (i != 0) to = put_separator(to);
        if (column.kind == cell_kind::time_column && settings_.leading_space) *to++ = ' ';
        to = put_padded(to, own_words(column.name), column.width);
    }
    *to++ = '\n';
    out.end_at(to);
}

void csv_writer::add_column(std::string_view name, std::size_t width, cell_kind kind) {
    column_list_.push_back({std::string(name), padding_ ? width : 0, kind});
}

void csv_writer::add_time_columns(std::string_view paired_name, std::string_view date_name) {
    const std::size_t date_width = settings_.date_format.size();
    const std::size_t time_width = settings_.time_format.size();
    if (time_kind_ == cell_kind::paired_time) {
        add_column(paired_name, date_width + time_width + 1);
    } else {
        add_column(date_name, date_width);
        add_column("time-UTC", time_width, cell_kind::time_column);
    }
}

// In the order of the cells: `fill_row` follows it.
void csv_writer::make_column_list() {
    add_time_columns("usndate [UTC]", "usndate");
    add_column("MFT entry", number_width);
    add_column("mft seqnum", sequence_width);
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
    row_.resize(column_list_.size());
    const std::size_t guarded = guard_ && guard_->guards_own_words() ? text_guard::longest_mark : 1;
    for (const table_column& column : column_list_) {
        fixed_room_ +=
            settings_.separator.size() + name_width_ + column.width + guarded * (column.name.size() + longest_value);
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

void csv_writer::fill_row(const journal_entry& entry) {
    std::size_t at = 0;
    at += row_.set_value(at, entry.timestamp, time_kind_);
    at += row_.set_value(at, entry_number(entry.file_ref), cell_kind::number);
    at += row_.set_value(at, sequence_number(entry.file_ref), cell_kind::short_number);
    at += row_.set_value(at, entry_number(entry.parent_ref), cell_kind::number);
    at += row_.set_value(at, sequence_number(entry.parent_ref), cell_kind::number);  // so eight digits when unpadded
    at += row_.set_value(at, static_cast<std::uint64_t>(entry.usn), cell_kind::number);
    if (settings_.show_type) at += row_.set_token(at, origin_text(entry));
    if (settings_.show_offset) at += row_.set_value(at, entry.record_offset, cell_kind::number);
    at += row_.set_token(at, attributes_.text_of(entry.file_attributes));
    at += row_.set_wide_text(at, entry.name);
    at += row_.set_token(at, reasons_.text_of(entry.reason));
    if (with_paths_) at = fill_path_cells(entry, at);
    if (!settings_.user_name.empty()) at += row_.set_text(at, settings_.user_name);
    if (!settings_.host_name.empty()) row_.set_text(at, settings_.host_name);
}

std::size_t csv_writer::fill_path_cells(const journal_entry& entry, std::size_t at) {
    at += row_.set_token(at, status_word(entry.status));
    if (settings_.pull_times) {
        const bool known = entry.status == mft_status::valid || entry.status == mft_status::remnant;
        for (const std::uint64_t time :
             {entry.index_modified, entry.index_accessed, entry.index_mft_changed, entry.index_created}) {
            at += row_.set_value(at, known ? time : 0, time_kind_);
        }
    }
    if (settings_.path_history) return fill_history_cells(entry, at);
    if (entry.status == mft_status::parent_gone) return at + row_.set_token(at, parent_gone_text);
    const bool plain = is_plain_path(entry.parent_path, entry.path_number, plain_paths_);
    return at + row_.set_wide_text(at, entry.name, entry.parent_path, plain);
}

std::size_t csv_writer::fill_history_cells(const journal_entry& entry, std::size_t at) {
    const bool plain = is_plain_path(entry.parent_path, entry.path_number, plain_paths_);
    at += row_.set_wide_text(at, entry.name, entry.parent_path, plain);
    at += row_.set_token(at, basis_word(entry.basis));
    if (entry.path_now.empty()) return at + row_.set_token(at, {});
    const bool plain_now = is_plain_path(entry.path_now, entry.path_now_number, plain_paths_now_);
    return at + row_.set_wide_text(at, entry.name, entry.path_now, plain_now);
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

void csv_writer::write_row(const table_row& row, text_buffer& out) {
    if (!row.ready()) return;
    const std::size_t count = std::min(row.cells().size(), column_list_.size());
    char* to = out.room(fixed_room_);
    put_name_ = {};
    for (std::size_t i = 0; i < count; ++i) {
        const table_cell& cell = row.cells()[i];
        if (multiline_) {
            to = put_padded(to, column_list_[i].name, name_width_);
        } else if (i != 0) {
            to = put_separator(to);
        }
        to = put_cell(out, to, cell, i);
        if (cell.kind == cell_kind::split_time) ++i;
        if (multiline_) *to++ = '\n';
    }
    *to++ = '\n';
    out.end_at(to);
}

char* csv_writer::put_cell(text_buffer& out, char* to, const table_cell& cell, std::size_t index) {
    const std::size_t width = column_list_[index].width;
    switch (cell.kind) {
        case cell_kind::text: return put_text_cell(out, to, cell, width);
        case cell_kind::short_number:
        case cell_kind::number: return put_number(to, cell, width);
        case cell_kind::split_time: return put_split_time(to, cell.number, index);
        case cell_kind::paired_time: return put_paired_time(to, cell.number, width);
        case cell_kind::none:
        case cell_kind::time_column: break;
    }
    return to;
}

// Keeps room ahead for the cells that follow.
char* csv_writer::put_text_cell(text_buffer& out, char* to, const table_cell& cell, std::size_t width) {
    if (cell.content == text_kind::utf16) return put_name_and_path(out, to, cell, width);
    if (cell.content == text_kind::token) {
        const std::string_view text = own_words(cell.text);
        return put_padded(out.room(to, text.size() + fixed_room_), text, width);
    }
    const std::string_view text = table_text_of(cell.text);
    to = put_text(out.room(to, text.size() + fixed_room_), text);
    return width == 0 ? to : put_padding(to, count_characters(text), width);
}

char* csv_writer::put_name_and_path(text_buffer& out, char* to, const table_cell& cell, std::size_t width) {
    const std::size_t before = cell.text.size();
    const std::size_t units = before + cell.wide_text.size();
    to = out.room(to, units + fixed_room_);
    if (cell.plain) put_text(to, cell.text);
    if (cell.plain && put_name(out, to + before, cell.wide_text)) {
        return put_padding(to + units, units, width);
    }
    full_path(cell.text, cell.wide_text, guard_.has_value(), name_);
    const std::string_view text = table_text_of(name_);
    to = put_text(out.room(to, text.size() + fixed_room_), text);
    return width == 0 ? to : put_padding(to, count_characters(text), width);
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

char* csv_writer::put_number(char* to, const table_cell& cell, std::size_t width) const {
    if (!settings_.hexadecimal) return put_decimal(to, cell.number, width);
    if (width >= 2) return put_hexadecimal(to, cell.number, width - 2);
    return put_hexadecimal(to, cell.number, cell.kind == cell_kind::short_number ? 4 : 8);
}

// Two columns, under -multiline one line. The leading space stays without padding: only -no_whitespace takes it away.
char* csv_writer::put_split_time(char* to, std::uint64_t filetime, std::size_t index) {
    const bool valid = times_.format(filetime);
    to = put_padded(to, valid ? own_words(times_.date()) : blank_, column_list_[index].width);
    if (!multiline_) to = put_separator(to);
    if (settings_.leading_space) *to++ = ' ';
    return put_padded(to, valid ? own_words(times_.time()) : blank_, column_list_[index + 1].width);
}

// The leading space stands outside the column's width.
char* csv_writer::put_paired_time(char* to, std::uint64_t filetime, std::size_t width) {
    const bool valid = times_.format(filetime);
    if (settings_.leading_space && padding_) *to++ = ' ';
    const char* const begin = to;
    to = put_text(to, valid ? own_words(times_.date()) : blank_);
    *to++ = ' ';
    to = put_text(to, valid ? own_words(times_.time()) : blank_);
    return put_padding(to, static_cast<std::size_t>(to - begin), width);
}

// Nearly always a few characters, for which a copy of fixed size is a plain store.
char* csv_writer::put_separator(char* to) const {
    if (separator_length_ > short_separator_.size()) return put_text(to, settings_.separator);
    std::memcpy(to, short_separator_.data(), short_separator_.size());
    return to + separator_length_;
}

}  // namespace uni
