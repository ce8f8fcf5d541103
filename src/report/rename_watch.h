// report/rename_watch.h: two patterns of renames, looked for over any 60 seconds: many files that get one extension,
// and files that are renamed again and again to names of one length and then deleted. Records come in order of time.
#pragma once

#include "journal/journal_entry.h"
#include "report/tally_table.h"

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace report {

// Files that got one extension, from other ones.
struct extension_burst {
    static constexpr std::uint64_t fewest_files = 100;
    static constexpr std::uint64_t fewest_extensions = 8;
    static constexpr std::uint64_t fewest_directories = 3;

    std::string extension;
    std::uint64_t begin = 0;  // FILETIMEs of the first and the last of the renames
    std::uint64_t end = 0;
    std::uint64_t files = 0;
    std::uint64_t extensions = 0;         // that they had before
    std::uint64_t directories = 0;        // that they lie in
    std::vector<std::uint64_t> arrivals;  // of the first renames
};

// Files that were renamed and deleted, each within 60 seconds and no more than that behind the one before.
struct wiping_burst {
    static constexpr std::uint64_t fewest_renames = 5;

    std::uint64_t begin = 0;  // FILETIME of the first of the renames, which may be more of them
    std::uint64_t end = 0;    // of the last deletion
    std::uint64_t files = 0;
    std::uint64_t renames = 0;            // to names of the length that the last one had
    std::vector<std::uint64_t> arrivals;  // of the record with the first name and of the deletion
};

class rename_watch {
public:
    static constexpr std::uint64_t window = 600'000'000;  // FILETIME units
    static constexpr std::size_t most_events = std::size_t{1} << 18U;
    static constexpr std::size_t most_bursts = 30;
    static constexpr std::size_t most_arrivals = 30;

    // `old_name`: the record gives the name that the file had until then.
    void take(const journal_entry& entry, change_kind kind, bool old_name);

    [[nodiscard]] const std::vector<extension_burst>& extension_bursts() const { return extension_bursts_; }
    [[nodiscard]] const std::vector<wiping_burst>& wiping_bursts() const { return wiping_bursts_; }
    [[nodiscard]] std::uint64_t left_out() const { return left_out_; }  // bursts beyond the most

    // Whether a minute had more renames than are looked at together.
    [[nodiscard]] bool cut() const { return cut_; }

private:
    struct renaming {  // of a file
        std::uint64_t old_extension = 0;
        std::uint64_t first_arrival = 0;  // of the record before the run of names of one length
        std::uint64_t old_arrival = 0;    // of the latest record with an old name
        std::uint64_t run = 0;
        std::uint64_t begin = 0;  // FILETIME of its first
        std::size_t length = 0;   // of the names of the run
        std::array<std::uint64_t, wiping_burst::fewest_renames> times{};
        std::uint32_t events = 0;  // that the window has of it
    };
    struct event {
        std::uint64_t time = 0;
        std::uint64_t file = 0;
        std::uint64_t extension = 0;  // that it got; 0: none of interest
        std::uint64_t old_extension = 0;
        std::uint64_t directory = 0;
        std::uint64_t arrival = 0;
    };
    using number_counts = std::unordered_map<std::uint64_t, std::uint32_t, mixing_hash>;
    using number_set = std::unordered_set<std::uint64_t, mixing_hash>;
    struct target {  // an extension that files of the window got
        std::string text;
        number_counts files, extensions, directories;
        std::size_t open = 0;  // one more than the place of a burst that goes on
        bool left_out = false;
    };
    struct burst_members {
        number_set files, extensions, directories;
    };

    void expire(std::uint64_t now);
    void forget_first();
    void take_old_name(const journal_entry& entry, renaming& file) const;
    void take_new_name(const journal_entry& entry, renaming& file);
    void take_deletion(const journal_entry& entry, renaming& file);
    void look_at(target& of, const event& latest);
    void add_to(std::size_t burst, const event& one);
    [[nodiscard]] std::uint64_t number_of(std::u16string_view extension) const;

    mixing_hash hash_;
    std::deque<event> events_;  // of the last 60 seconds
    std::unordered_map<std::uint64_t, renaming, mixing_hash> files_;
    std::unordered_map<std::uint64_t, target, mixing_hash> targets_;
    std::vector<extension_burst> extension_bursts_;
    std::vector<burst_members> members_;  // of those, by place
    std::vector<wiping_burst> wiping_bursts_;
    std::uint64_t left_out_ = 0;
    std::uint64_t last_wiped_ = 0;  // a deletion that is in no listed burst
    bool cut_ = false;
};

}  // namespace report
