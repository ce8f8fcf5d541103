#include "report/rename_watch.h"

#include "base/utf.h"
#include "report/extension.h"

#include <algorithm>
#include <utility>

namespace report {
namespace {

// A set of a listed burst takes no more: then the count is one of at least so many.
constexpr std::size_t most_members = std::size_t{1} << 20U;

template <typename set>
void insert(set& into, std::uint64_t number) {
    if (into.size() < most_members) into.insert(number);
}

template <typename counts>
void take_one(counts& from, std::uint64_t number) {
    const auto found = from.find(number);
    if (--found->second == 0) from.erase(found);
}

}  // namespace

std::uint64_t rename_watch::number_of(std::u16string_view extension) const {
    return extension.empty() ? 0 : extension_number(extension, hash_.factor) | 1U;
}

void rename_watch::take(const journal_entry& entry, change_kind kind, bool old_name) {
    expire(entry.timestamp);
    if (kind == change_kind::deleted) {
        if (const auto found = files_.find(entry.file_ref); found != files_.end()) take_deletion(entry, found->second);
        return;
    }
    renaming& file = files_[entry.file_ref];
    if (old_name) take_old_name(entry, file);
    events_.push_back({.time = entry.timestamp,
                       .file = entry.file_ref,
                       .old_extension = file.old_extension,
                       .directory = entry.parent_ref,
                       .arrival = entry.arrival});
    ++file.events;
    if (kind == change_kind::renamed) take_new_name(entry, file);
    if (events_.size() <= most_events) return;
    cut_ = true;
    forget_first();
}

void rename_watch::expire(std::uint64_t now) {
    while (!events_.empty() && now - events_.front().time > window) forget_first();
}

void rename_watch::forget_first() {
    const event first = events_.front();
    events_.pop_front();
    if (const auto file = files_.find(first.file); --file->second.events == 0) files_.erase(file);
    if (first.extension == 0) return;
    const auto found = targets_.find(first.extension);
    take_one(found->second.files, first.file);
    take_one(found->second.extensions, first.old_extension);
    take_one(found->second.directories, first.directory);
    if (found->second.files.empty()) targets_.erase(found);
}

void rename_watch::take_old_name(const journal_entry& entry, renaming& file) const {
    file.old_extension = number_of(extension_of(entry.name));
    file.old_arrival = entry.arrival;
}

void rename_watch::take_new_name(const journal_entry& entry, renaming& file) {
    if (file.run == 0 || file.length != entry.name.size()) {
        file.run = 0;
        file.begin = entry.timestamp;
        file.length = entry.name.size();
        file.first_arrival = file.old_arrival;
    }
    file.times[file.run++ % file.times.size()] = entry.timestamp;

    const std::u16string_view text = extension_of(entry.name);
    const std::uint64_t extension = number_of(text);
    event& latest = events_.back();
    if (extension == 0 || extension == file.old_extension) return;
    latest.extension = extension;
    target& of = targets_[extension];
    if (of.text.empty()) of.text = to_utf8(folded_text(text));
    ++of.files[latest.file];
    ++of.extensions[latest.old_extension];
    ++of.directories[latest.directory];
    look_at(of, latest);
}

void rename_watch::look_at(target& of, const event& latest) {
    if (of.files.size() < extension_burst::fewest_files || of.extensions.size() < extension_burst::fewest_extensions ||
        of.directories.size() < extension_burst::fewest_directories) {
        return;
    }
    if (of.open != 0 && latest.time - extension_bursts_[of.open - 1].end <= window) {
        add_to(of.open - 1, latest);
        return;
    }
    if (extension_bursts_.size() == most_bursts) {
        left_out_ += of.left_out ? 0U : 1U;
        of.left_out = true;
        return;
    }
    extension_bursts_.push_back({.extension = of.text, .begin = latest.time, .arrivals = {}});
    members_.emplace_back();
    of.open = extension_bursts_.size();
    for (const event& one : events_) {
        if (one.extension == latest.extension) add_to(of.open - 1, one);
    }
}

void rename_watch::add_to(std::size_t burst, const event& one) {
    extension_burst& to = extension_bursts_[burst];
    burst_members& members = members_[burst];
    insert(members.files, one.file);
    insert(members.extensions, one.old_extension);
    insert(members.directories, one.directory);
    to.begin = std::min(to.begin, one.time);
    to.end = std::max(to.end, one.time);
    to.files = members.files.size();
    to.extensions = members.extensions.size();
    to.directories = members.directories.size();
    if (to.arrivals.size() < most_arrivals) to.arrivals.push_back(one.arrival);
}

void rename_watch::take_deletion(const journal_entry& entry, renaming& file) {
    const std::uint64_t run = std::exchange(file.run, 0);
    if (run < wiping_burst::fewest_renames) return;
    const std::uint64_t first = file.times[run % file.times.size()];
    if (entry.timestamp - first > window) return;
    const auto goes_on = [&](std::uint64_t end) { return entry.timestamp - end <= window; };
    if (wiping_bursts_.empty() || !goes_on(wiping_bursts_.back().end)) {
        if (wiping_bursts_.size() == most_bursts) {
            if (last_wiped_ == 0 || !goes_on(last_wiped_)) ++left_out_;
            last_wiped_ = entry.timestamp;
            return;
        }
        wiping_bursts_.push_back({.begin = file.begin, .arrivals = {}});
    }
    wiping_burst& to = wiping_bursts_.back();
    to.begin = std::min(to.begin, file.begin);
    to.end = entry.timestamp;
    ++to.files;
    to.renames += run;
    if (to.arrivals.size() < most_arrivals) to.arrivals.push_back(file.first_arrival);
    if (to.arrivals.size() < most_arrivals) to.arrivals.push_back(entry.arrival);
}

}  // namespace report
