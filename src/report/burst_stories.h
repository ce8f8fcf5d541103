// report/burst_stories.h: what the records of each burst share: directory and extensions, and the first of them.
// Records come in order of time.
#pragma once

#include "report/findings.h"

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace report {

class burst_stories {
public:
    explicit burst_stories(const std::vector<burst>& bursts);

    // The place of the burst that a record belongs to; none for the most.
    static constexpr std::size_t none = ~std::size_t{0};
    [[nodiscard]] std::size_t place_of_record(std::uint64_t time, change_kind kind) {
        std::vector<std::size_t>& to_come = of_kind_[place_of(kind)];
        while (!to_come.empty() && time >= members_[to_come.back()].story.of.end) to_come.pop_back();
        if (to_come.empty() || time < members_[to_come.back()].story.of.begin) return none;
        return to_come.back();
    }

    // A record of it, by numbers that stand for its directory and its extension. What is known of the directory and the
    // extension in lower case are asked for where they may be new. True when it is one of those to be shown.
    struct member_record {
        std::uint64_t arrival = 0;
        std::uint64_t directory = 0;
        std::uint64_t extension = 0;
        bool folder_is_path = false;  // so that others may lie below it
    };
    template <typename folder_maker, typename extension_maker>
    bool take(std::size_t place, const member_record& one, const folder_maker& folder,
              const extension_maker& extension) {
        member& to = members_[place];
        burst_story& story = to.story;
        const bool is_new = !to.directories.contains(one.directory);
        if (is_new && (to.directories.empty() || !story.directory.empty())) share(to, folder(), one.folder_is_path);
        if (count_directory(to, one.directory)) story.directory_of_most = folder();
        if (std::uint64_t* const records = to.records_of(one.extension, extension); records != nullptr) {
            ++*records;
        } else {
            ++story.other_extensions;
        }
        if (story.arrivals.size() == most_arrivals) return false;
        story.arrivals.push_back(one.arrival);
        return true;
    }

    [[nodiscard]] std::vector<burst_story> take_stories();

    static constexpr std::size_t most_arrivals = 30;
    static constexpr std::size_t most_directories = 4096;
    static constexpr std::size_t most_extensions = 256;
    static constexpr std::size_t extensions_shown = 5;

private:
    struct named_count {
        std::string text;
        std::uint64_t records = 0;
    };
    struct member {
        burst_story story;
        std::unordered_map<std::uint64_t, std::uint64_t, mixing_hash> directories;  // records
        std::uint64_t directory_of_most = 0;
        std::unordered_map<std::uint64_t, named_count, mixing_hash> extensions;

        // Null when there is no room for one more.
        template <typename extension_maker>
        [[nodiscard]] std::uint64_t* records_of(std::uint64_t extension, const extension_maker& text) {
            if (const auto found = extensions.find(extension); found != extensions.end()) return &found->second.records;
            if (extensions.size() == most_extensions) return nullptr;
            return &extensions.emplace(extension, named_count{text(), 0}).first->second.records;
        }
    };

    // One more directory.
    static void share(member& of, const std::string& folder, bool is_path);

    // True when another one has the most records now.
    [[nodiscard]] static bool count_directory(member& of, std::uint64_t directory);

    std::vector<member> members_;
    std::array<std::vector<std::size_t>, kinds> of_kind_;  // places, the last one in time first
};

}  // namespace report
