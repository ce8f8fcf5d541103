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

void burst_stories::share(member& of, const std::string& folder, bool is_path) {
    std::string& shared = of.story.directory;
    if (of.directories.empty()) {
        shared = folder;
    } else if (folder != shared) {
        shared = is_path ? std::string(shared_part(shared, folder)) : std::string();
    }
}

bool burst_stories::count_directory(member& of, std::uint64_t directory) {
    if (of.directories.size() > most_directories && !of.directories.contains(directory)) return false;
    const std::uint64_t records = ++of.directories[directory];
    if (records <= of.story.most) return false;
    of.story.most = records;
    return std::exchange(of.directory_of_most, directory) != directory || records == 1;
}

std::vector<burst_story> burst_stories::take_stories() {
    std::vector<burst_story> out;
    for (member& one : members_) {
        burst_story& story = one.story;
        story.directories = one.directories.size();
        for (auto& [number, of] : one.extensions) story.extensions.emplace_back(std::move(of.text), of.records);
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
