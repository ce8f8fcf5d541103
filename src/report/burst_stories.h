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
    [[nodiscard]] std::size_t place_of_record(std::uint64_t time, record_kind kind) {
        std::vector<std::size_t>& to_come = of_kind_[place_of(kind)];
        while (!to_come.empty() && time >= members_[to_come.back()].story.of.end) to_come.pop_back();
        if (to_come.empty() || time < members_[to_come.back()].story.of.begin) return none;
        return to_come.back();
    }

    // A record of it. True when it is one of those to be shown.
    struct member_record {
        std::uint64_t arrival = 0;
        std::uint64_t directory = 0;
        const std::string& folder;     // what is known of the directory
        bool folder_is_path = false;   // so that others may lie below it
        const std::string& extension;  // in lower case
    };
    bool take(std::size_t place, const member_record& one);

    [[nodiscard]] std::vector<burst_story> take_stories();

    static constexpr std::size_t most_arrivals = 30;
    static constexpr std::size_t most_directories = 4096;
    static constexpr std::size_t most_extensions = 256;
    static constexpr std::size_t extensions_shown = 5;

private:
    struct member {
        burst_story story;
        bool any = false;
        std::unordered_map<std::uint64_t, std::uint64_t, mixing_hash> directories;  // records
        std::uint64_t directory_of_most = 0;
        std::unordered_map<std::string, std::uint64_t> extensions;
    };

    static void count_directory(member& of, const member_record& one);

    std::vector<member> members_;
    std::array<std::vector<std::size_t>, kinds> of_kind_;  // places, the last one in time first
};

}  // namespace report
