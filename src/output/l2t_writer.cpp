#include "output/l2t_writer.h"

#include "base/program.h"
#include "base/text.h"
#include "output/entry_text.h"
#include "output/macb.h"
#include "output/number_text.h"
#include "output/text_marks.h"

namespace uni {

namespace {

constexpr std::string_view basis_text = "; path basis: ";
constexpr std::size_t basis_room = basis_text.size() + 8;

}  // namespace

l2t_writer::l2t_writer(const layout_settings& settings, bool with_paths)
    : settings_(settings),
      guard_(settings.complete ? std::optional<text_guard>(settings.separator) : std::nullopt),
      with_paths_(with_paths),
      times_(settings.time_format_flags, settings.complete ? time_range::any : time_range::usual),
      types_(slot_descriptions),
      names_(settings.replaced_character, settings.replacement, guard_ ? &*guard_ : nullptr),
      zone_(between("UTC")),
      source_(between("USNJRNL" + settings.separator + field("NTFS:$UsnJrnl:$J"))),
      owner_(between(field(settings.user_name, false) + settings.separator + field(settings.host_name, false))),
      version_(between("2")),
      parent_(settings.separator + field("parent inode: ")),
      format_(between(field(std::string(program_name) + " (korvane)")) + field("seq num: ")) {
    constexpr std::size_t longest_time = 40 * text_guard::longest_mark;
    fixed_room_ = 4 * settings.separator.size() + longest_time + zone_.size() + source_.size() + owner_.size() +
                  version_.size() + parent_.size() + format_.size() + basis_room + 4 * number_room(0);
}

std::string l2t_writer::field(const std::string& text, bool own) const {
    if (!guard_ || (own && !guard_->guards_own_words())) return text;
    std::string scratch;
    return std::string(guard_->guarded(text, scratch));
}

std::string l2t_writer::between(const std::string& fields) const {
    return settings_.separator + fields + settings_.separator;
}

record_fate l2t_writer::write_record(const journal_entry& entry, text_buffer& out) {
    if (entry.version == 4 && settings_.complete) return record_fate::version_4;
    const macb_letters letters = macb_text(entry.reason);
    if (letters == no_macb_letters) return record_fate::close_only;
    if (!times_.format(entry.timestamp)) return record_fate::no_time;
    const std::string_view type = own_words(types_.text_of(entry.reason), type_);
    const std::string_view name = names_.of(entry.name);
    const std::string_view path = full_path(entry);

    char* to = out.room(fixed_room_ + type.size() + 2 * name.size() + path.size());
    to = put_time(to);
    to = put_text(to, zone_);
    to = put_text(to, {letters.data(), letters.size()});
    to = put_text(to, source_);
    to = put_text(to, type);
    to = put_text(to, owner_);
    to = put_text(to, name);
    to = put_text(to, settings_.separator);
    to = put_text(to, path);
    to = put_text(to, version_);
    to = put_text(to, name);
    to = put_text(to, settings_.separator);
    to = put_number(to, entry_number(entry.file_ref), 8);
    to = put_text(to, parent_);
    to = put_number(to, entry_number(entry.parent_ref), 8);
    to = put_text(to, format_);
    to = put_number(to, sequence_number(entry.file_ref), 4);
    if (settings_.path_history) to = put_text(put_text(to, basis_text), basis_word(entry.basis));
    *to++ = '\n';
    out.end_at(to);
    return record_fate::written;
}

void l2t_writer::write_header(text_buffer& out) {
    out.append(settings_.pair_date_time ? "date/time" : "date");
    if (!settings_.pair_date_time) {
        out.append(settings_.separator);
        out.append("time");
    }
    for (const std::string_view name : {"timezone", "MACB", "source", "sourcetype", "type", "user", "host", "short",
                                        "desc", "version", "filename", "inode", "notes", "format", "extra"}) {
        out.append(settings_.separator);
        out.append(name);
    }
    out.append("\n");
}

// Empty when nothing is known of the parent.
std::string_view l2t_writer::full_path(const journal_entry& entry) {
    if (!with_paths_ || entry.parent_path.empty()) return {};
    if (!settings_.path_history && entry.status == mft_status::parent_gone) return {};
    uni::full_path(entry.parent_path, entry.name, guard_.has_value(), path_);
    if (guard_) return guard_->guarded(path_, guarded_path_);
    if (settings_.replaced_character != 0) replace_all(path_, settings_.replaced_character, settings_.replacement);
    mark_line_breaks(path_);
    return path_;
}

// A text without anything but the separator to guard, kept in `guarded` when it has to be.
std::string_view l2t_writer::own_words(std::string_view text, std::string& guarded) const {
    return guard_ && guard_->guards_own_words() ? guard_->guarded(text, guarded) : text;
}

char* l2t_writer::put_time(char* to) {
    if (settings_.pair_date_time && !settings_.no_whitespace) *to++ = ' ';
    to = put_text(to, own_words(times_.date(), time_));
    if (settings_.pair_date_time) {
        *to++ = ' ';
    } else {
        to = put_text(to, settings_.separator);
        if (!settings_.no_whitespace) *to++ = ' ';
    }
    return put_text(to, own_words(times_.time(), time_));
}

char* l2t_writer::put_number(char* to, std::uint64_t value, std::size_t digits) const {
    return settings_.hexadecimal ? put_hexadecimal(to, value, digits) : put_decimal(to, value, 0);
}

}  // namespace uni
