#include "report/gathering.h"

#include "base/file_reference.h"
#include "base/utf.h"
#include "journal/ordered_reader.h"
#include "journal/usn_record.h"
#include "ntfs/file_name.h"
#include "output/entry_text.h"
#include "report/burst_stories.h"
#include "report/extension.h"

#include <algorithm>
#include <array>
#include <utility>

namespace report {
namespace {

// Marks of a record, by arrival.
constexpr std::uint8_t kind_mask = 0x07;
constexpr std::uint8_t is_counted = 0x08;  // sound and no copy
constexpr std::uint8_t old_name = 0x10;    // adds the name that the file had
constexpr std::uint8_t wanted = 0x20;      // to be shown as a row

constexpr std::size_t most_extensions = 65536;
constexpr std::uint64_t of_directories = ~std::uint64_t{0};  // in place of the number of an extension

void widen(time_span& span, std::uint64_t time) {
    if (span.last == 0) span.first = time;
    span.first = std::min(span.first, time);
    span.last = std::max(span.last, time);
}

std::string text_of(std::u16string_view name) {
    std::string out;
    append_utf8_with_surrogates(name, out);
    return out;
}

std::vector<named_entry> named(const std::vector<surveyed_entry>& entries, ntfs_volume& mft) {
    std::vector<named_entry> out;
    for (const surveyed_entry& one : entries) {
        mft_entry entry;
        const bool loaded = mft.load_entry(one.number, entry);
        out.push_back({one, loaded ? text_of(name_of_entry(entry)) : std::string()});
    }
    return out;
}

class gathering {
public:
    gathering(findings& out, const journal_collection& records, run_meter& meter, progress& shown)
        : out_(out), records_(records), meter_(meter), shown_(shown), marks_(records.size()) {}

    void run(ntfs_volume* mft) {
        go_in_usn_order(mft);
        pick_files();
        go_in_time_order();
        show_late_ones();
        std::ranges::sort(out_.rows, {}, &shown_record::arrival);
        name_files();
    }

private:
    struct known_key {
        std::uint32_t path = 0;
        std::uint64_t key = 0;
    };

    void tell(std::string_view what, std::uint64_t done) {
        constexpr std::uint64_t between_words = 4096;  // records
        if (done % between_words == 0) shown_.tell(what, done, records_.size(), "records");
    }

    void want(const packed_record* one) {
        if (one != nullptr) want(one->arrival());
    }
    void want(std::uint64_t arrival) {
        std::uint8_t& marks = marks_[static_cast<std::size_t>(arrival)];
        late_ += (marks & wanted) == 0 ? 1U : 0U;
        marks |= wanted;
    }

    // ---- In order of USN: what the journal is ----

    void go_in_usn_order(ntfs_volume* mft) {
        usn_order order(records_);
        out_.unsound = order.unsound();
        out_.first_in_usn = order.journal().first;
        out_.last_in_usn = order.journal().last;
        wholeness_check whole(order);
        std::optional<mft_checks> of_mft;
        if (mft != nullptr) of_mft.emplace(survey_mft(mft->mft(), shown_, "reading the MFT"), order);
        std::uint64_t done = 0;
        while (const packed_record* const one = order.next()) {
            constexpr std::size_t lead = 8;
            if (const packed_record* const later = order.ahead(2 * lead); later != nullptr) {
                __builtin_prefetch(files_.index_place(later->file_ref));
                const packed_record& next = *order.ahead(lead);
                if (of_mft) {
                    __builtin_prefetch(of_mft->group_place(*later));
                    __builtin_prefetch(of_mft->entry_place(next));
                }
                const auto soon = static_cast<const char*>(files_.tally_place(next.file_ref));
                __builtin_prefetch(soon);
                if (soon != nullptr) __builtin_prefetch(soon + sizeof(tally) - 1);
            }
            tell("looking at records", done++);
            whole.take(*one);
            const std::uint32_t added = take_kind(*one);
            if (of_mft) of_mft->take(*one, added);
        }
        out_.records = done;
        out_.again = records_.size() - done - out_.unsound;
        out_.whole = whole.result();
        out_.bursts = minutes_.bursts();
        want_rows_of_wholeness();
        if (!of_mft) return;
        out_.mft = of_mft->result();
        for (const other_creation& one : out_.mft.others) want(one.record);
        out_.missing = named(out_.mft.missing, *mft);
        out_.later = named(out_.mft.later, *mft);
    }

    std::uint32_t take_kind(const packed_record& one) {
        tally& file = *files_.of(one.file_ref);
        const std::uint32_t added = added_reasons(one.reason, file.mark);
        const change_kind kind = kind_of(added);
        file.latest = &one;
        file.mark = one.reason;
        ++file.counts[place_of(kind)];
        ++out_.by_kind[place_of(kind)];
        const record_origin origin = record_marks::origin_of(one.marks);
        ++out_.origins[static_cast<std::size_t>(origin)];
        marks_[static_cast<std::size_t>(one.arrival())] = static_cast<std::uint8_t>(
            place_of(kind) | is_counted | ((added & usn_reason::rename_old_name) != 0 ? old_name : 0U));
        if (one.timestamp == 0) {
            ++out_.without_time;
            return added;
        }
        widen(out_.times, one.timestamp);
        if (origin == record_origin::journal) widen(out_.journal_times, one.timestamp);
        minutes_.add(one.timestamp, kind);
        return added;
    }

    void want_rows_of_wholeness() {
        want(out_.first_in_usn);
        want(out_.last_in_usn);
        for (const auto* list : {&out_.whole.gaps, &out_.whole.steps_back}) {
            for (const neighbours& one : *list) {
                want(one.before);
                want(one.behind);
            }
        }
        for (const packed_record* one : out_.whole.outside) want(one);
    }

    // The text of a file is that of its last record.
    void pick_files() {
        largest<tally*> busiest;
        for (std::size_t i = 0; i < files_.size(); ++i) busiest.add(sum_of(files_[i].counts), &files_[i]);
        top_files_ = busiest.in_order([](const tally* one) { return ~sum_of(one->counts); });
        for (const tally* one : top_files_) want(one->latest);
    }

    void name_files() {
        out_.files.distinct = files_.size();
        for (const tally* one : top_files_) {
            const shown_record* const row = out_.row_of(one->latest->arrival());
            std::string text = row != nullptr ? row->name : reference_text(one->key);
            if ((one->latest->file_attributes & attribute_directory) != 0) text += '\\';
            if (row != nullptr && !row->folder.empty()) text += "  in " + row->folder;
            out_.files.listed.push_back({std::move(text), one->counts});
        }
    }

    // ---- In order of time: when and where ----

    void go_in_time_order() {
        out_.span_is_of_journal = out_.journal_times.last != 0;
        out_.bars = bar_chart(out_.span_is_of_journal ? out_.journal_times : out_.times);
        burst_stories stories(out_.bursts.listed);
        ordered_reader reader(records_, meter_);
        out_.has_paths = reader.has_paths();
        journal_entry entry;
        for (std::uint64_t done = 0; reader.next(entry); ++done) {
            tell("drawing", done);
            const std::uint8_t marks = marks_[static_cast<std::size_t>(entry.arrival)];
            if ((marks & is_counted) == 0) continue;
            take(entry, marks, stories);
        }
        out_.stories = stories.take_stories();
        out_.extension_bursts = renames_.extension_bursts();
        out_.wiping_bursts = renames_.wiping_bursts();
        out_.marked_left_out = renames_.left_out();
        out_.renames_cut = renames_.cut();
        finish(out_.directories, top_directories_, directories_);
        finish(out_.extensions, top_extensions_, extensions_);
    }

    void take(const journal_entry& entry, std::uint8_t marks, burst_stories& stories) {
        const auto kind = static_cast<change_kind>(marks & kind_mask);
        if (entry.timestamp != 0) {
            out_.bars.add(entry.timestamp, kind);
            out_.hours.add(entry.timestamp);
        }
        const std::uint64_t directory = key_of_directory(entry);
        count(directories_, top_directories_, out_.directories, directory, kind, [&] { return folder_text(entry); });
        const std::uint64_t extension = key_of_extension(entry);
        if (entry.version != 4 && extension != of_directories) {
            count(extensions_, top_extensions_, out_.extensions, extension, kind,
                  [&] { return extension_text(entry); });
        }
        bool show = (marks & wanted) != 0;
        if (entry.timestamp != 0) {
            if (const std::size_t burst = stories.place_of_record(entry.timestamp, kind);
                burst != burst_stories::none) {
                show |= stories.take(
                    burst,
                    {.arrival = entry.arrival,
                     .directory = directory,
                     .extension = extension,
                     .folder_is_path = !entry.parent_path.empty()},
                    [&] { return folder_text(entry); }, [&] { return extension_text(entry); });
            }
            if (kind == change_kind::deleted || kind == change_kind::renamed || (marks & old_name) != 0) {
                renames_.take(entry, kind, (marks & old_name) != 0);
            }
        }
        if (show) show_record(entry);
    }

    template <typename text_maker>
    static void count(tally_table& table, ranking& top, ranked_things& things, std::uint64_t key, change_kind kind,
                      const text_maker& text) {
        tally* const one = table.of(key);
        if (one == nullptr) {
            ++things.not_counted;
            return;
        }
        ++one->counts[place_of(kind)];
        top.note(*one, text);
    }

    // Directories have names like "1.0.0.0_none", which are no types of files.
    [[nodiscard]] std::uint64_t key_of_extension(const journal_entry& entry) const {
        const bool directory = (entry.file_attributes & attribute_directory) != 0;
        return directory ? of_directories : extension_number(extension_of(entry.name), factor_);
    }

    static std::string extension_text(const journal_entry& entry) {
        if ((entry.file_attributes & attribute_directory) != 0) return "(directories)";
        const std::u16string_view extension = extension_of(entry.name);
        return extension.empty() ? "(none)" : "." + text_of(folded_text(extension));
    }

    // With path history a directory counts as each of the paths that it had.
    std::uint64_t key_of_directory(const journal_entry& entry) {
        if (!out_.run.past_paths) return entry.parent_ref;
        known_key& known = keys_[entry.path_number % keys_.size()];
        if (entry.path_number != 0 && known.path == entry.path_number) return known.key;
        std::uint64_t key = entry.parent_path.size();
        for (const char c : entry.parent_path) {
            key = ((key << 5U | key >> 59U) ^ static_cast<unsigned char>(c)) * factor_;
        }
        if (entry.parent_path.empty()) key = entry.parent_ref;
        known = {entry.path_number, key};
        return key;
    }

    std::string folder_text(const journal_entry& entry) const {
        if (!entry.parent_path.empty()) return std::string(uni::from_root(entry.parent_path));
        if (entry_number(entry.parent_ref) == root_entry_number) return "\\";
        const tally* const known = files_.find(entry.parent_ref);
        const bool has_name = known != nullptr && known->latest != nullptr && known->latest->name_units != 0;
        if (!has_name) return "[" + reference_text(entry.parent_ref) + "]";
        return text_of({known->latest->name(), known->latest->name_units}) + "\\ [" + reference_text(entry.parent_ref) +
               "]";
    }

    void show_record(const journal_entry& entry) {
        std::uint8_t& marks = marks_[static_cast<std::size_t>(entry.arrival)];
        if ((marks & wanted) != 0) --late_;
        marks = static_cast<std::uint8_t>(marks & ~wanted);
        shown_record row{.arrival = entry.arrival,
                         .time = entry.timestamp,
                         .usn = entry.usn,
                         .file_ref = entry.file_ref,
                         .reason = entry.reason,
                         .name = {},
                         .folder = {},
                         .origin = {}};
        if (entry.parent_path.empty()) {
            row.folder = folder_text(entry);
        } else {
            row.name = uni::from_root(entry.parent_path);
        }
        row.name += text_of(entry.name);
        if (entry.origin != record_origin::journal) row.origin = uni::origin_text(entry);
        out_.rows.push_back(std::move(row));
    }

    // The records of marked renames are known only when the last of them was met.
    void show_late_ones() {
        std::ranges::sort(out_.rows, {}, &shown_record::arrival);
        const auto want_missing = [this](const std::vector<std::uint64_t>& arrivals) {
            for (const std::uint64_t one : arrivals) {
                if (out_.row_of(one) == nullptr) want(one);
            }
        };
        for (const extension_burst& one : out_.extension_bursts) want_missing(one.arrivals);
        for (const wiping_burst& one : out_.wiping_bursts) want_missing(one.arrivals);
        if (late_ == 0) return;
        ordered_reader reader(records_, meter_);
        journal_entry entry;
        while (late_ != 0 && reader.next(entry)) {
            if ((marks_[static_cast<std::size_t>(entry.arrival)] & wanted) != 0) show_record(entry);
        }
    }

    static void finish(ranked_things& out, ranking& top, const tally_table& table) {
        out.distinct = table.size();
        for (ranked_tally& one : top.take()) out.listed.push_back({std::move(one.text), one.of->counts});
    }

    findings& out_;
    const journal_collection& records_;
    run_meter& meter_;
    progress& shown_;
    std::vector<std::uint8_t> marks_;
    std::uint64_t late_ = 0;  // records that are wanted and not shown yet
    tally_table files_;
    tally_table directories_;
    tally_table extensions_{most_extensions};
    minute_counts minutes_;
    std::vector<tally*> top_files_;
    ranking top_directories_;
    ranking top_extensions_;
    rename_watch renames_;
    std::uint64_t factor_ = drawn_factor();
    std::array<known_key, 4096> keys_{};  // of the directories that were met lately, by the number of their path
};

}  // namespace

findings gather(run_facts run, const journal_collection& records, ntfs_volume* mft, run_meter& meter, progress& shown) {
    findings out;
    out.run = std::move(run);
    gathering(out, records, meter, shown).run(mft);
    return out;
}

}  // namespace report
