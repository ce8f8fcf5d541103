#include "output/xml_writer.h"

#include "base/utf.h"
#include "journal/usn_text.h"
#include "output/entry_text.h"
#include "output/number_text.h"
#include "output/text_guard.h"
#include "output/xml_escape.h"

namespace uni {
namespace {

constexpr std::string_view corrupted_entry =
    "<data_entry corrupted=\"yes\">\n"
    "\t<usndate>unk</usndate>\n"
    "\t<usntime>unk</usntime>\n"
    "\t<name>unk</name>\n"
    "\t<reason>unk</reason>\n"
    "</data_entry>\n"
    "\n";

struct tags {
    std::string_view opening;
    std::string_view closing;
};

constexpr tags usn_date = {"\t<USNDate>", "</USNDate>\n"};
constexpr tags usn_time = {"\t<USNTime>", "</USNTime>\n"};
constexpr tags file_name = {"\t<name>", "</name>\n"};
constexpr tags reason = {"\t<reason>", "</reason>\n"};
constexpr tags mft_ref = {"\t<mft_ref>", "</mft_ref>\n"};
constexpr tags sequence = {"\t<sequence>", "</sequence>\n"};
constexpr tags parent_mft_ref = {"\t<parent_mft_ref>", "</parent_mft_ref>\n"};
constexpr tags attributes = {"\t<attributes>", "</attributes>\n"};
constexpr tags usn = {"\t<usn>", "</usn>\n"};
constexpr tags status_field = {"\t<MFTStatus>", "</MFTStatus>\n"};
constexpr tags path_field = {"\t<path>", "</path>\n"};
constexpr tags basis_field = {"\t<PathBasis>", "</PathBasis>\n"};
constexpr tags path_now_field = {"\t<PathNow>", "</PathNow>\n"};
constexpr tags modify_date = {"\t<SIModifyDate>", "</SIModifyDate>\n"};
constexpr tags modify_time = {"\t<SIModifyTime>", "</SIModifyTime>\n"};
constexpr tags access_date = {"\t<SIAccessDate>", "</SIAccessDate>\n"};
constexpr tags access_time = {"\t<SIAccessTime>", "</SIAccessTime>\n"};
constexpr tags mft_changed_date = {"\t<SIMFTChangedDate>", "</SIMFTChangedDate>\n"};
constexpr tags mft_changed_time = {"\t<SIMFTChangedTime>", "</SIMFTChangedTime>\n"};
constexpr tags created_date = {"\t<SICreatedDate>", "</SICreatedDate>\n"};
constexpr tags created_time = {"\t<SICreatedTime>", "</SICreatedTime>\n"};

// Enough for a record without its name, its flag words and its path.
constexpr std::size_t fixed_room = 1536;

// A tag's text is known here, so each of the three copies but the middle one is a few plain stores.
template <const tags& of>
char* put_field(char* to, std::string_view content) {
    return put_text(put_text(put_text(to, of.opening), content), of.closing);
}

template <const tags& of>
char* put_long_field(text_buffer& out, char* to, std::string_view content) {
    return put_field<of>(out.room(to, content.size() + fixed_room), content);
}

template <const tags& date, const tags& time>
char* put_time_fields(char* to, time_formatter& times, std::uint64_t filetime) {
    if (filetime == 0 || !times.format(filetime)) return to;
    return put_field<time>(put_field<date>(to, times.date()), times.time());
}

// A journal of this file system has no time outside these years.
constexpr bool is_plausible(std::uint64_t filetime) {
    constexpr std::uint64_t begin_of_1990 = 122'756'256'000'000'000;
    constexpr std::uint64_t begin_of_2101 = 157'784'544'000'000'000;
    return filetime >= begin_of_1990 && filetime < begin_of_2101;
}

}  // namespace

xml_writer::xml_writer(const layout_settings& settings, bool with_paths)
    : settings_(settings),
      with_paths_(with_paths),
      times_(settings.time_format_flags, settings.complete ? time_range::any : time_range::usual),
      pulled_times_(settings.time_format_flags, settings.complete ? time_range::any : time_range::usual),
      reasons_(reason_tokens),
      attributes_(attribute_tokens) {}

record_fate xml_writer::write_record(const journal_entry& entry, text_buffer& out) {
    if (settings_.closed_only && (entry.reason & usn_reason::close) == 0) return record_fate::not_closed;
    const bool has_time = (settings_.complete || is_plausible(entry.timestamp)) && times_.format(entry.timestamp);
    if (!has_time && !settings_.complete) {
        out.append(corrupted_entry);
        return record_fate::written;
    }
    const bool is_named = !settings_.complete || entry.version != 4;
    char* to = put_opening(out.room(fixed_room), entry);
    if (has_time) {
        to = put_field<usn_date>(to, times_.date());
        to = put_field<usn_time>(to, times_.time());
    }
    if (is_named) to = put_name(out, to, entry.name);
    to = put_long_field<reason>(out, to, reasons_.text_of(entry.reason));
    to = put_text(to, mft_ref.opening);
    to = put_text(put_number(to, entry_number(entry.file_ref), 12), mft_ref.closing);
    to = put_text(to, sequence.opening);
    to = put_text(put_number(to, sequence_number(entry.file_ref), 4), sequence.closing);
    to = put_text(to, parent_mft_ref.opening);
    to = put_text(put_number(to, entry_number(entry.parent_ref), 12), parent_mft_ref.closing);
    if (is_named) to = put_long_field<attributes>(out, to, attributes_.text_of(entry.file_attributes));
    to = put_text(to, usn.opening);
    to = put_text(put_number(to, static_cast<std::uint64_t>(entry.usn), 12), usn.closing);
    if (with_paths_) to = put_path_fields(out, to, entry);
    out.end_at(put_text(to, "</data_entry>\n"));
    return record_fate::written;
}

char* xml_writer::put_opening(char* to, const journal_entry& entry) const {
    if (!settings_.complete) return put_text(to, "<data_entry>\n");
    to = put_text(to, "<data_entry");
    if (entry.version == 4) to = put_text(to, " version=\"4\"");
    if (entry.foreign) to = put_text(to, " foreign=\"yes\"");
    return put_text(to, ">\n");
}

char* xml_writer::put_name(text_buffer& out, char* to, std::u16string_view name) {
    to = put_text(out.room(to, name.size() + fixed_room), file_name.opening);
    const bool may_hold_mark = settings_.complete && name.find(u'[') != std::u16string_view::npos;
    if (!may_hold_mark && put_unescaped_name(name, to)) return put_text(to + name.size(), file_name.closing);
    text_.clear();
    if (settings_.xml_escape) {
        append_name(name, settings_.complete, text_);
    } else {
        xml_escape(name, wide_name_);
        append_utf8(wide_name_, text_);
    }
    const std::string_view text = escaped(text_);
    return put_text(put_text(out.room(to, text.size() + fixed_room), text), file_name.closing);
}

// The times stand there whatever the status.
char* xml_writer::put_path_fields(text_buffer& out, char* to, const journal_entry& entry) {
    to = put_field<status_field>(to, status_word(entry.status));
    if (!settings_.path_history && entry.status == mft_status::parent_gone) {
        to = put_long_field<path_field>(out, to, parent_gone_text);
    } else {
        to = put_long_field<path_field>(out, to, path_of(entry, entry.parent_path));
    }
    if (settings_.path_history) {
        to = put_field<basis_field>(to, basis_word(entry.basis));
        const bool elsewhere_now = !entry.path_now.empty();
        to = put_long_field<path_now_field>(out, to, elsewhere_now ? path_of(entry, entry.path_now) : "");
    }
    if (!settings_.pull_times) return to;
    to = put_time_fields<modify_date, modify_time>(to, pulled_times_, entry.index_modified);
    to = put_time_fields<access_date, access_time>(to, pulled_times_, entry.index_accessed);
    to = put_time_fields<mft_changed_date, mft_changed_time>(to, pulled_times_, entry.index_mft_changed);
    return put_time_fields<created_date, created_time>(to, pulled_times_, entry.index_created);
}

// Holds until the next text.
std::string_view xml_writer::path_of(const journal_entry& entry, std::string_view directory) {
    full_path(directory, entry.name, settings_.complete, text_);
    return escaped(text_);
}

char* xml_writer::put_number(char* to, std::uint64_t value, std::size_t digits) const {
    return settings_.hexadecimal ? put_hexadecimal(to, value, digits) : put_decimal(to, value, 0);
}

// The text itself unless -xml_escape is on, as it is with -complete.
std::string_view xml_writer::escaped(const std::string& text) {
    if (!settings_.xml_escape) return text;
    escaped_.clear();
    if (settings_.complete) {
        append_guarded_xml(text, escaped_);
    } else {
        append_escaped(text, escaped_);
    }
    return escaped_;
}

}  // namespace uni
