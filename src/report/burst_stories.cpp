#include "report/burst_stories.h"

#include <algorithm>
#include <utility>

namespace report {
namespace {

// The part of a path that another one begins with, up to a "\".
std::string_view shared_part(std::string_view path, std::string_view other) {
    const auto differing = std::ranges::mismatch(path, other);
    const auto length = static_cast<std::size_t>(differing.in1 - path.begin());
    if (length == path.size()) return path;
    const std::size_t end = length == 0 ? std::string_view::npos : path.rfind('\\', length - 1);
    return end == std::string_view::npos ? std::string_view{} : path.substr(0, end + 1);
}

}  // namespace

burst_stories::burst_stories(const std::vector<burst>& bursts) {
    members_.resize(bursts.size());
    for (std::size_t i = bursts.size(); i-- > 0;) {
        members_[i].story.of = bursts[i];
        of_kind_[place_of(bursts[i].kind)].push_back(i);
    }
}

bool burst_stories::take(std::size_t place, const member_record& one) {
    member& to = members_[place];
    burst_story& story = to.story;
    if (!std::exchange(to.any, true)) {
        story.directory = one.folder;
    } else if (one.folder != story.directory) {
        story.directory = one.folder_is_path ? std::string(shared_part(story.directory, one.folder)) : std::string();
    }
    count_directory(to, one);
    if (to.extensions.size() < most_extensions || to.extensions.contains(one.extension)) {
        ++to.extensions[one.extension];
    } else {
        ++story.other_extensions;
    }
    if (story.arrivals.size() == most_arrivals) return false;
    story.arrivals.push_back(one.arrival);
    return true;
}

void burst_stories::count_directory(member& of, const member_record& one) {
    if (of.directories.size() > most_directories && !of.directories.contains(one.directory)) return;
    const std::uint64_t records = ++of.directories[one.directory];
    if (records <= of.story.most) return;
    if (of.story.most == 0 || of.directory_of_most != one.directory) of.story.directory_of_most = one.folder;
    of.directory_of_most = one.directory;
    of.story.most = records;
}

std::vector<burst_story> burst_stories::take_stories() {
    std::vector<burst_story> out;
    for (member& one : members_) {
        burst_story& story = one.story;
        story.directories = one.directories.size();
        story.extensions.assign(one.extensions.begin(), one.extensions.end());
        std::ranges::sort(story.extensions, [](const auto& a, const auto& b) {
            return a.second != b.second ? a.second > b.second : a.first < b.first;
        });
        for (std::size_t i = extensions_shown; i < story.extensions.size(); ++i) {
            story.other_extensions += story.extensions[i].second;
        }
        story.extensions.resize(std::min(story.extensions.size(), extensions_shown));
        out.push_back(std::move(story));
    }
    return out;
}

}  // namespace report
