#include "journal/path_resolution.h"

#include "base/file_reference.h"
#include "journal/journal_collection.h"
#include "journal/reference_pairs.h"
#include "journal/resolved_paths.h"
#include "ntfs/directory_listing.h"
#include "ntfs/mft_children.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace {

class path_resolution {
public:
    path_resolution(usnjrnl_context& run, ntfs_volume& mft_source)
        : context_(mft_source, run.pull_times),
          journal_(*run.journal),
          with_times_(run.pull_times),
          pairs_(journal_.size()) {}

    void run() {
        number_pairs();
        resolve_groups();
        resolve_unread();
        context_.paths->release_source();
        found_->keep_directories(std::move(context_.paths));
        journal_.keep_paths(std::move(found_));
    }

private:
    // The pairs of one parent, in order of file.
    using group = std::span<const std::uint32_t>;

    void number_pairs() {
        std::vector<std::uint32_t> pair_of_record(journal_.size());
        std::array<reference_pair, 256> some;
        std::array<std::size_t, some.size()> arrivals;
        std::size_t count = 0;
        const auto number_some = [&] {
            std::array<std::uint32_t, some.size()> numbers;
            pairs_.number(std::span(some).first(count), numbers);
            for (std::size_t i = 0; i < count; ++i) pair_of_record[arrivals[i]] = numbers[i];
            count = 0;
        };
        journal_.visit_references([&](std::size_t arrival, const reference_pair& pair) {
            arrivals[count] = arrival;
            some[count++] = pair;
            if (count == some.size()) number_some();
        });
        number_some();
        ordered_ = pairs_.in_order();
        found_ = std::make_unique<resolved_paths>(std::move(pair_of_record), ordered_.size(), with_times_);
    }

    void resolve_groups() {
        directory_listing listing;
        for (std::size_t begin = 0; begin < ordered_.size();) {
            const std::uint64_t reference = pairs_.pairs()[ordered_[begin]].parent;
            std::size_t end = begin;
            while (end < ordered_.size() && pairs_.pairs()[ordered_[end]].parent == reference) ++end;
            resolve_group(reference, group(ordered_).subspan(begin, end - begin), listing);
            begin = end;
        }
    }

    void resolve_group(std::uint64_t parent, group files, directory_listing& listing) {
        listing.clear();
        for (const std::uint32_t pair : files) listing.want(pairs_.pairs()[pair].file);
        listed_parent found;
        if (!list_parent_directory(context_, parent, listing, found) || !found.present()) return;
        if (found.index_out_of_reach) {
            unread_.push_back({parent, std::exchange(listing, {})});
            unread_groups_.push_back(files);
        } else {
            note_files(parent, files, listing);
        }
    }

    // What only a scan of the whole MFT tells, done once for all.
    void resolve_unread() {
        if (unread_.empty()) return;
        list_by_mft_scan(context_.source, unread_);
        for (std::size_t i = 0; i < unread_.size(); ++i) {
            if (unread_[i].listing.any()) note_files(unread_[i].reference, unread_groups_[i], unread_[i].listing);
        }
    }

    // `listing`: of the group's files, in the same order.
    void note_files(std::uint64_t parent, group files, const directory_listing& listing) {
        directory_path path;
        if (!context_.paths->build_directory_path(parent, path)) return;
        const std::uint32_t number = found_->add_path(path);
        for (std::size_t i = 0; i < files.size(); ++i) {
            const wanted_file& file = listing.files()[i];
            const file_status status = file.where == listed_in::index   ? file_status::current
                                       : file.where == listed_in::slack ? file_status::remnant
                                                                        : file_status::entry_missing;
            found_->note(files[i], number, status, file.times);
        }
    }

    mft_entries_ctx context_;
    journal_collection& journal_;
    bool with_times_;
    reference_pairs pairs_;
    std::vector<std::uint32_t> ordered_;
    std::unique_ptr<resolved_paths> found_;
    std::vector<unread_directory> unread_;
    std::vector<group> unread_groups_;
};

}  // namespace

bool resolve_journal_paths(usnjrnl_context& run, ntfs_volume& mft_source) {
    if (!run.show_dir_path || run.journal == nullptr || !mft_source.mount()) return false;
    path_resolution(run, mft_source).run();
    return true;
}
