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

std::string between(const layout_settings& settings, const std::string& text) {
    return settings.separator + text + settings.separator;
}

}  // namespace

l2t_writer::l2t_writer(const layout_settings& settings, bool with_paths)
    : settings_(settings),
      with_paths_(with_paths),
      times_(settings.time_format_flags),
      types_(slot_descriptions),
      names_(settings.replaced_character, settings.replacement),
      zone_(between(settings, "UTC")),
      source_(between(settings, "USNJRNL" + settings.separator + "NTFS:$UsnJrnl:$J")),
      owner_(between(settings, settings.user_name + settings.separator + settings.host_name)),
      version_(between(settings, "2")),
      parent_(settings.separator + "parent inode: "),
      format_(between(settings, std::string(program_name) + " (korvane)") + "seq num: ") {
    constexpr std::size_t longest_time = 40;
    fixed_room_ = 4 * settings.separator.size() + longest_time + zone_.size() + source_.size() + owner_.size() +
                  version_.size() + parent_.size() + format_.size() + basis_room + 4 * number_room(0);
}

void l2t_writer::write_record(const journal_entry& entry, text_buffer& out) {
    const macb_letters letters = macb_text(entry.reason);
    if (letters == no_macb_letters || !times_.format(entry.timestamp)) return;
    const std::string_view type = types_.text_of(entry.reason);
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
    uni::full_path(entry.parent_path, entry.name, path_);
    if (settings_.replaced_character != 0) replace_all(path_, settings_.replaced_character, settings_.replacement);
    mark_line_breaks(path_);
    return path_;
}

char* l2t_writer::put_time(char* to) const {
    if (settings_.pair_date_time && !settings_.no_whitespace) *to++ = ' ';
    to = put_text(to, times_.date());
    if (settings_.pair_date_time) {
        *to++ = ' ';
    } else {
        to = put_text(to, settings_.separator);
        if (!settings_.no_whitespace) *to++ = ' ';
    }
    return put_text(to, times_.time());
}

char* l2t_writer::put_number(char* to, std::uint64_t value, std::size_t digits) const {
    return settings_.hexadecimal ? put_hexadecimal(to, value, digits) : put_decimal(to, value, 0);
}

}  // namespace uni
