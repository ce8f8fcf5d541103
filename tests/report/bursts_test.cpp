#include "report/burst_stories.h"
#include "report/minutes.h"
#include "report/rename_watch.h"

#include <gtest/gtest.h>

namespace {

using namespace report;

constexpr std::uint64_t noon = 133'486'704'000'000'000;  // FILETIME of 2024-01-02 12:00

// Minutes of so many records each, as begin and records of the bursts.
std::vector<std::pair<std::uint64_t, std::uint64_t>> bursts_of(const std::vector<std::uint64_t>& minutes) {
    minute_counts counts;
    for (std::size_t i = 0; i < minutes.size(); ++i) {
        for (std::uint64_t k = 0; k < minutes[i]; ++k) counts.add(noon + i * ticks_per_minute + k, change_kind::data);
    }
    std::vector<std::pair<std::uint64_t, std::uint64_t>> out;
    for (const burst& one : counts.bursts().listed)
        out.emplace_back((one.begin - noon) / ticks_per_minute, one.records);
    return out;
}

TEST(bursts, edges) {
    using found = std::vector<std::pair<std::uint64_t, std::uint64_t>>;
    EXPECT_EQ(bursts_of({10, 10, 10, 99, 100, 101}), (found{}));          // the median is 54.5
    EXPECT_EQ(bursts_of({10, 10, 10, 10, 100, 99}), (found{{4, 100}}));   // and here 10
    EXPECT_EQ(bursts_of({10, 10, 11, 11, 104, 105}), (found{}));          // 11
    EXPECT_EQ(bursts_of({10, 10, 10, 11, 104, 105}), (found{{5, 105}}));  // 10.5
    EXPECT_EQ(bursts_of({1, 0, 1, 1, 100, 200, 0, 300, 1, 1}), (found{{4, 300}, {7, 300}}));
}

// Its records' directories, as number and text: what they share, how many they are, the one with the most records.
std::string shared_by(const std::vector<std::pair<std::uint64_t, std::string>>& directories, bool are_paths = true) {
    burst_stories stories({{change_kind::data, noon, noon + ticks_per_minute, directories.size()}});
    for (const auto& directory : directories) {
        const std::string& text = directory.second;
        stories.take(
            stories.place_of_record(noon, change_kind::data),
            {.arrival = 0, .directory = directory.first, .extension = directory.first, .folder_is_path = are_paths},
            [&] { return text; }, [&] { return text.substr(text.size() - 2); });
    }
    const burst_story story = stories.take_stories().front();
    return story.directory + " " + std::to_string(story.directories) + " " + story.directory_of_most + " " +
           std::to_string(story.most) + " " + story.extensions.front().first;
}

TEST(stories, share_what_all_have) {
    EXPECT_EQ(shared_by({{0, "\\a\\b\\"}}), "\\a\\b\\ 1 \\a\\b\\ 1 b\\");
    EXPECT_EQ(shared_by({{1, "\\a\\b\\"}, {2, "\\a\\bc\\"}, {2, "\\a\\bc\\"}}), "\\a\\ 2 \\a\\bc\\ 2 c\\");
    EXPECT_EQ(shared_by({{1, "\\a\\"}, {2, "\\a\\b\\"}, {1, "\\a\\"}}), "\\a\\ 2 \\a\\ 2 a\\");
    EXPECT_EQ(shared_by({{1, "\\a\\"}, {2, "[7-1]"}, {1, "\\a\\"}}, false), " 2 \\a\\ 2 a\\");
}

// A file that is renamed so many times, each so many seconds behind the one before, and deleted as long after that.
std::uint64_t wiped(std::uint64_t renames, double step, const std::u16string& last_name = u"AAAAAA") {
    rename_watch watch;
    journal_entry entry;
    entry.file_ref = 40;
    entry.timestamp = noon;
    const auto take = [&](const std::u16string& name, change_kind kind, bool old_name) {
        entry.name = name;
        ++entry.arrival;
        watch.take(entry, kind, old_name);
    };
    for (std::uint64_t i = 0; i < renames; ++i) {
        take(u"ABCDEF", change_kind::other, true);
        take(i + 1 == renames ? last_name : u"BBBBBB", change_kind::renamed, false);
        entry.timestamp += static_cast<std::uint64_t>(step * 1e7);
    }
    take(last_name, change_kind::deleted, false);
    return watch.wiping_bursts().empty() ? 0 : watch.wiping_bursts().front().renames;
}

TEST(wiping, edges) {
    EXPECT_EQ(wiped(4, 1), 0U);
    EXPECT_EQ(wiped(5, 12), 5U);  // 60 seconds to the deletion
    EXPECT_EQ(wiped(5, 12.001), 0U);
    EXPECT_EQ(wiped(26, 12), 26U);
    EXPECT_EQ(wiped(5, 1, u"AAAAAAA"), 0U);
}

}  // namespace
