// output/record_filter.h: -from, -to and -find: which records are written, in every layout. What is read, resolved and
// counted knows nothing of it.
#pragma once

#include "journal/journal_entry.h"
#include "output/iso_time.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace uni {

// Plain data, set once by the options.
struct record_choice {
    // FILETIMEs, the second exclusive. As long as neither is set, records without a time are chosen too.
    bool by_time = false;
    std::uint64_t from = 1;
    std::uint64_t to = end_of_iso_times;

    // Patterns as folded_pattern makes them; any of them must match. Of names, and of paths.
    std::vector<std::u32string> names;
    std::vector<std::u32string> paths;

    [[nodiscard]] bool all() const { return !by_time && names.empty() && paths.empty(); }
};

// A glob as it is compared: by code points, case folded. "*" stands for any of them, also none, "?" for one.
[[nodiscard]] std::u32string folded_pattern(std::string_view utf8);

// Made for one run; keeps its buffers from record to record.
class record_filter {
public:
    // The choice outlives the filter.
    explicit record_filter(const record_choice& choice) : choice_(choice) {}

    // A record without a time is in no window, one without a name matches no pattern, one without a path no pattern of
    // paths.
    [[nodiscard]] bool takes(const journal_entry& entry);

private:
    [[nodiscard]] bool matches(const journal_entry& entry);

    const record_choice& choice_;
    std::u32string name_;
    std::u32string path_;
};

}  // namespace uni
