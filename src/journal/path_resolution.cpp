#include "journal/path_resolution.h"

#include "base/file_reference.h"
#include "journal/gathered_history.h"
#include "journal/journal_collection.h"
#include "journal/mft_witnesses.h"
#include "journal/reference_pairs.h"
#include "journal/resolved_paths.h"
#include "journal/usn_record.h"
#include "ntfs/directory_listing.h"
#include "ntfs/mft_children.h"
#include "ntfs/ntfs_volume.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace {

// The pairs of one parent, in order of file.
using group = std::span<const numbered_pair>;

// Of a directory whose index is out of reach.
struct unread_group {
    std::uint64_t directory = 0;
    group files;
    std::uint32_t path = 0;
    bool any = false;  // something lies in it
};

// What journals tell of directories without calling them that: their records did not go to the history when they came.
class unmarked_directories {
public:
    explicit unmarked_directories(std::span<const numbered_pair> pairs) {
        for (const numbered_pair& one : pairs) {
            if (parents_.empty() || parents_.back() != one.pair.parent) {
                parents_.push_back(one.pair.parent);
                hints_[place_of(one.pair.parent)] = true;
            }
        }
        for (const numbered_pair& one : pairs) {
            if (!one.marked || !hints_[place_of(one.pair.file)]) continue;
            any_ = any_ || is_parent(one.pair.file);
        }
    }

    // Of a name that was cut short nothing can be told.
    void tell(const journal_collection& records, gathered_history& told) const {
        if (!any_) return;
        records.for_each_of_journal([&](const packed_record& one) {
            const bool tells = (one.file_attributes & attribute_directory) == 0 && one.name_units != 0 &&
                               !may_be_cut(one) && hints_[place_of(one.file_ref)] && is_parent(one.file_ref) &&
                               !told.is_doubtful(one.record_offset);
            if (!tells) return;
            told.places().add_late({.directory = one.file_ref,
                                    .parent = one.parent_ref,
                                    .usn = one.usn,
                                    .reason = one.reason,
                                    .name = view_of({one.name(), one.name_units})});
        });
    }

private:
    [[nodiscard]] static bool may_be_cut(const packed_record& one) {
        return one.name_units == kept_units_of_longer_name && (one.marks & record_marks::details) != 0;
    }

    // Most files are no parent by their entry number alone.
    static constexpr std::size_t hint_bits = 20;
    [[nodiscard]] static std::size_t place_of(std::uint64_t reference) {
        return static_cast<std::size_t>(reference) & ((std::size_t{1} << hint_bits) - 1);
    }
    [[nodiscard]] bool is_parent(std::uint64_t reference) const {
        return entry_number(reference) != root_entry_number &&
               std::ranges::binary_search(parents_, reference_order(reference), {}, reference_order);
    }

    std::vector<std::uint64_t> parents_;
    std::vector<bool> hints_ = std::vector<bool>(std::size_t{1} << hint_bits);
    bool any_ = false;
};

class path_resolution {
public:
    path_resolution(journal_collection& records, ntfs_volume& mft_source, const resolution_settings& asked,
                    progress& shown)
        : context_(mft_source.mft(), asked.pull_times, asked.complete),
          records_(records),
          shown_(shown),
          asked_(asked) {}

    void run(reference_pairs& pairs, std::unique_ptr<gathered_history> told, ntfs_volume& mft_source) {
        take(pairs);
        resolve_groups();
        resolve_unread();
        if (told != nullptr) {
            const in_phase now(told->meter(), phase::history);
            unmarked_directories(pairs_).tell(records_, *told);
            const mft_testimony mft = testimony_of(mft_source, shown_);
            found_->keep_past(std::move(told), pairs_, &mft, asked_.complete);
        }
        context_.paths->release_source();
        found_->keep_directories(std::move(context_.paths), asked_.complete);
        records_.keep_paths(std::move(found_));
    }

private:
    void take(reference_pairs& pairs) {
        block_array<std::uint32_t> pair_of_record = pairs.take_numbers();
        pairs_ = pairs.in_order();
        found_ = std::make_unique<resolved_paths>(std::move(pair_of_record), pairs_.size(), asked_.pull_times);
    }

    void resolve_groups() {
        directory_listing listing;
        for (group rest(pairs_); !rest.empty();) {
            const std::uint64_t parent = rest.front().pair.parent;
            const auto end =
                std::ranges::find_if(rest, [&](const numbered_pair& one) { return one.pair.parent != parent; });
            const group files(rest.begin(), end);
            resolve_group(parent, files, listing);
            shown_.tell("resolving paths", pairs_.size() - rest.size(), pairs_.size(), "files");
            rest = rest.subspan(files.size());
        }
    }

    void resolve_group(std::uint64_t parent, group files, directory_listing& listing) {
        listing.clear();
        for (const numbered_pair& one : files) listing.want(one.pair.file);
        listed_parent found;
        directory_path path;
        if (!list_parent_directory(context_, parent, listing, found) || !found.present() ||
            !context_.paths->build_directory_path(parent, path)) {
            return;
        }
        const std::uint32_t number = found_->add_path(path);
        if (listing.any()) note_listed(files, number, listing);
        if (found.index_out_of_reach) unread_.push_back({parent, files, number, listing.any()});
    }

    // `listing`: of the group's files, in the same order.
    void note_listed(group files, std::uint32_t path, const directory_listing& listing) {
        for (std::size_t i = 0; i < files.size(); ++i) {
            const wanted_file& file = listing.files()[i];
            const mft_status status = file.where == listed_in::index   ? mft_status::valid
                                      : file.where == listed_in::slack ? mft_status::remnant
                                                                       : mft_status::entry_gone;
            found_->note(files[i].number, path, status, file.times);
        }
    }

    // What only a scan of the whole MFT tells, done once for all.
    void resolve_unread() {
        if (unread_.empty()) return;
        const auto wanted = [this](std::uint64_t directory) { return !unread_at(directory).empty(); };
        const auto meet = [this](std::uint64_t directory, std::uint64_t file, const file_times& times) {
            for (unread_group& one : unread_at(directory)) note_child(one, file, times);
        };
        visit_mft_children(context_.source, wanted, meet, shown_);
    }

    // A directory that was met by its reference and without a sequence number has two groups.
    [[nodiscard]] std::span<unread_group> unread_at(std::uint64_t directory) {
        if (directory != last_directory_) {  // neighbours in the MFT often lie in one directory
            const auto order_of = [](const unread_group& one) { return reference_order(one.directory); };
            const auto first = std::ranges::lower_bound(unread_, reference_order(directory), {}, order_of);
            const auto last = std::ranges::upper_bound(unread_, reference_order(directory), {}, order_of);
            last_directory_ = directory;
            last_unread_ = std::span(first, last);
        }
        return last_unread_;
    }

    void note_child(unread_group& in, std::uint64_t file, const file_times& times) {
        if (!in.any) {
            for (const numbered_pair& one : in.files) found_->note(one.number, in.path, mft_status::entry_gone, {});
        }
        in.any = true;
        const auto order_of = [](const numbered_pair& one) { return reference_order(one.pair.file); };
        const auto found = std::ranges::lower_bound(in.files, reference_order(file), {}, order_of);
        if (found == in.files.end() || found->pair.file != file) return;
        if (found_->status_of(found->number) == mft_status::valid) return;  // the first entry counts
        found_->note(found->number, in.path, mft_status::valid, times);
    }

    mft_entries_ctx context_;
    journal_collection& records_;
    progress& shown_;
    resolution_settings asked_;
    std::vector<numbered_pair> pairs_;
    std::unique_ptr<resolved_paths> found_;
    std::vector<unread_group> unread_;                  // in order of directory
    std::uint64_t last_directory_ = ~std::uint64_t{0};  // which none has
    std::span<unread_group> last_unread_;               // those of that directory
};

}  // namespace

bool resolve_journal_paths(journal_collection& records, ntfs_volume& mft_source, const resolution_settings& asked,
                           progress& shown, std::unique_ptr<gathered_history> told) {
    if (!mft_source.mount()) return false;
    const std::unique_ptr<reference_pairs> pairs = records.take_pairs();
    if (pairs == nullptr) return false;
    path_resolution(records, mft_source, asked, shown).run(*pairs, std::move(told), mft_source);
    return true;
}

void resolve_past_paths(journal_collection& records, std::unique_ptr<gathered_history> told, bool with_surrogates) {
    const in_phase now(told->meter(), phase::history);
    const std::unique_ptr<reference_pairs> numbered = records.take_pairs();
    block_array<std::uint32_t> pair_of_record = numbered->take_numbers();
    const std::vector<numbered_pair> pairs = numbered->in_order();
    unmarked_directories(pairs).tell(records, *told);
    auto found = std::make_unique<resolved_paths>(std::move(pair_of_record), pairs.size(), false);
    found->keep_past(std::move(told), pairs, nullptr, with_surrogates);
    records.keep_paths(std::move(found));
}
