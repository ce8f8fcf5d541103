#include "bench/journal_maker.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr std::uint64_t first_moment = 133'485'408'000'000'000;  // FILETIME of 2024-01-01
constexpr std::uint64_t ticks_per_second = 10'000'000;
constexpr std::size_t population = 4096;
constexpr std::size_t folders = 512;

namespace reason {
constexpr std::uint32_t data_overwrite = 0x1;
constexpr std::uint32_t data_extend = 0x2;
constexpr std::uint32_t data_truncation = 0x4;
constexpr std::uint32_t file_create = 0x100;
constexpr std::uint32_t file_delete = 0x200;
constexpr std::uint32_t security_change = 0x800;
constexpr std::uint32_t rename_old_name = 0x1000;
constexpr std::uint32_t rename_new_name = 0x2000;
constexpr std::uint32_t basic_info_change = 0x8000;
constexpr std::uint32_t stream_change = 0x200000;
constexpr std::uint32_t close = 0x80000000;
}  // namespace reason

constexpr std::array<std::u16string_view, 24> words{
    u"report",         u"invoice",      u"setup",          u"backup",  u"photo",  u"draft",  u"index",
    u"cache",          u"update",       u"session",        u"config",  u"data",   u"log",    u"summary",
    u"meeting",        u"thumb",        u"export",         u"archive", u"manual", u"letter", u"r\u00E9sum\u00E9",
    u"\u00FCbersicht", u"\u8CC7\u6599", u"party\U0001F389"};
constexpr std::array<std::u16string_view, 12> extensions{u".docx", u".xlsx", u".pdf", u".tmp", u".log",  u".dll",
                                                         u".jpg",  u".pf",   u".dat", u".lnk", u".json", u".etl"};

}  // namespace

journal_maker::journal_maker(const journal_plan& plan)
    : plan_(plan), random_(plan.seed), files_(population), offset_(plan.sparse_lead), now_(first_moment) {
    next_.source_info = 0;
}

bool journal_maker::next_page(page& into) {
    std::size_t used = 0;
    while (waiting_ || drawn_ < plan_.records) {
        if (!waiting_) draw_record();
        const std::size_t size = next_.size();
        waiting_ = used + size > page_size;
        if (waiting_) break;
        next_.usn = offset_ + used;
        next_.write(std::span(into).subspan(used, size));
        used += size;
    }
    if (used == 0) return false;
    std::fill(into.begin() + static_cast<std::ptrdiff_t>(used), into.end(), std::uint8_t{0});
    if (below(1000) < plan_.damaged_pages) damage(into);
    offset_ += page_size;
    return true;
}

// Takes the next step of the file that is being worked on, or opens another one.
void journal_maker::draw_record() {
    made_file* file = &files_[working_on_];
    if (file->pending == 0) {
        working_on_ = below(population);
        file = &files_[working_on_];
        begin_action(*file);
    }
    const std::uint32_t lowest = file->pending & (~file->pending + 1);
    const std::uint32_t step = (file->pending & reason::file_create) != 0 ? reason::file_create : lowest;
    file->pending &= ~step;
    file->reason = step == reason::rename_new_name ? step : file->reason | step;
    const bool closed = below(100) < plan_.closed_percent;

    std::uint64_t draw = below(plan_.weights[0] + plan_.weights[1] + plan_.weights[2]);
    next_.version = 2;
    while (draw >= plan_.weights[next_.version - 2]) draw -= plan_.weights[next_.version++ - 2];

    // Several records of one moment are common.
    if (below(4) != 0) now_ += below(2 * ticks_per_second);
    next_.timestamp = plan_.shuffled ? first_moment + below(ticks_per_second * 86400 * 30) : now_;
    next_.file_ref = file->reference;
    next_.parent_ref = file->parent;
    next_.attributes = file->attributes;
    next_.reason = closed ? file->reason | reason::close : file->reason;
    next_.name = step == reason::rename_old_name ? file->old_name : file->name;
    ++drawn_;

    if (closed) file->reason = 0;
    if (step == reason::file_delete) file->reference = 0;
}

void journal_maker::begin_action(made_file& file) {
    using namespace reason;
    constexpr std::array<std::uint32_t, 8> changes{data_extend,
                                                   data_overwrite,
                                                   data_extend | data_truncation,
                                                   data_overwrite | data_extend | basic_info_change,
                                                   basic_info_change,
                                                   security_change,
                                                   stream_change | basic_info_change,
                                                   rename_old_name | rename_new_name};
    file.reason = 0;
    if (file.reference == 0) {
        const std::uint64_t sequence = 1 + below(12);
        const bool folder = below(16) == 0;
        file.reference = next_entry_++ | sequence << 48U;
        file.parent = (32 + below(folders)) | std::uint64_t{2} << 48U;
        file.attributes = folder ? 0x10 : below(8) == 0 ? 0x2020 : 0x20;
        make_name(file.name, folder ? u"" : extensions[below(extensions.size())]);
        file.pending = folder ? file_create : file_create | data_extend;
        if (!folder && below(4) == 0) file.pending |= basic_info_change;
        return;
    }
    if (below(6) == 0) {
        file.pending = file_delete;
        return;
    }
    file.pending = changes[below(changes.size())];
    if ((file.pending & rename_old_name) == 0) return;
    const std::size_t dot = file.name.rfind(u'.');
    const std::u16string extension = dot == std::u16string::npos ? u"" : file.name.substr(dot);
    file.old_name = file.name;
    make_name(file.name, extension);
}

void journal_maker::make_name(std::u16string& name, std::u16string_view extension) {
    const std::size_t half = plan_.mean_name / 2;
    const std::size_t length = plan_.mean_name - half + below(2 * half + 1);
    const std::size_t stem = length > extension.size() ? length - extension.size() : length;
    name.clear();
    while (name.size() < stem) {
        if (!name.empty()) name += below(3) == 0 ? u' ' : u'_';
        // The last four words are not ASCII; they are rare.
        name += words[below(below(20) == 0 ? words.size() : words.size() - 4)];
        if (below(3) == 0) name += static_cast<char16_t>(u'0' + below(10));
    }
    name.resize(stem);
    if (name.back() >= 0xD800 && name.back() < 0xDC00) name.back() = u'x';  // half of a pair was cut off
    if (stem != length) name += extension;
}

void journal_maker::damage(page& in) {
    if (below(2) == 0) {
        for (int i = 0; i < 8; ++i) in[below(page_size)] ^= static_cast<std::uint8_t>(1U << below(8));
        return;
    }
    const std::size_t begin = below(page_size);
    const std::size_t end = begin + below(page_size - begin) + 1;
    for (std::size_t i = begin; i < end; ++i) in[i] = static_cast<std::uint8_t>(random_());
}
