// report/burst_stories.h: what the records of each burst share: directory and extensions, and the first of them.
// Records come in order of time.
#pragma once

#include "report/findings.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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

    // `path`: of the directory, empty when it is not known; `extension` in lower case. True when the record is one of
    // those to be shown.
    bool take(std::size_t place, std::uint64_t arrival, std::uint64_t directory, std::string_view path,
              const std::string& extension);

    [[nodiscard]] std::vector<burst_story> take_stories();

    static constexpr std::size_t most_arrivals = 30;
    static constexpr std::size_t most_directories = 4096;
    static constexpr std::size_t most_extensions = 256;
    static constexpr std::size_t extensions_shown = 5;

private:
    struct member {
        burst_story story;
        bool any = false;
        std::unordered_set<std::uint64_t, mixing_hash> directories;
        std::unordered_map<std::string, std::uint64_t> extensions;
    };

    std::vector<member> members_;
    std::array<std::vector<std::size_t>, kinds> of_kind_;  // places, the last one in time first
};

}  // namespace report
