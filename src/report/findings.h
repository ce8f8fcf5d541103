// report/findings.h: all that a page tells, as plain data: filled by the gathering, read by whoever draws.
#pragma once

#include "journal/journal_entry.h"
#include "journal/journal_limits.h"
#include "report/mft_checks.h"
#include "report/minutes.h"
#include "report/rename_watch.h"
#include "report/timeline.h"
#include "report/wholeness.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace report {

// What is known of the run without its records.
struct run_facts {
    std::string run_header;
    std::string source;             // as the user typed it
    std::uint64_t source_size = 0;  // bytes; 0: not known
    std::uint64_t lost_bytes = 0;
    std::string mft;                                      // where the MFT is from; empty: there is none
    std::string options_that_do_not_count;                // on the page, of those that were given
    bool past_paths = false;                              // paths are those that directories had
    bool has_volume = false;                              // the source is one, so that it may tell of its journal
    std::optional<journal_limits> limits = std::nullopt;  // what it tells
};

// A record as a row shows it.
struct shown_record {
    std::uint64_t arrival = 0;
    std::uint64_t time = 0;  // FILETIME
    std::int64_t usn = 0;
    std::uint64_t file_ref = 0;
    std::uint32_t reason = 0;
    std::string name;    // with its path, where that is known; UTF-8, lone surrogates kept
    std::string folder;  // where it is not: what is known of the directory
    std::string origin;  // empty: the journal
};

struct ranked {
    std::string text;
    kind_counts counts{};
};

struct ranked_things {
    std::vector<ranked> listed;
    std::uint64_t distinct = 0;
    std::uint64_t not_counted = 0;  // records of things that came when there was no room for more
};

// What the records of a burst share.
struct burst_story {
    burst of;
    std::string directory;  // that all lie in or below; empty: none
    std::uint64_t directories = 0;
    std::string directory_of_most;  // of their records, and how many that are
    std::uint64_t most = 0;
    std::vector<std::pair<std::string, std::uint64_t>> extensions;  // with records, the most first
    std::uint64_t other_extensions = 0;                             // records
    std::vector<std::uint64_t> arrivals;                            // of its first records
};

struct named_entry {
    surveyed_entry entry;
    std::string name;
};

struct findings {
    run_facts run;

    std::uint64_t records = 0;               // each once
    std::array<std::uint64_t, 4> origins{};  // by record_origin, of the place where each was met first
    std::uint64_t again = 0;                 // copies of those
    std::uint64_t unsound = 0;
    std::uint64_t without_time = 0;
    kind_counts by_kind{};
    bool has_paths = false;

    const packed_record* first_in_usn = nullptr;  // of the journal
    const packed_record* last_in_usn = nullptr;
    time_span journal_times;  // of its records with a time
    time_span times;          // of all; both 0 when there is none
    bool span_is_of_journal = false;

    wholeness whole;
    mft_comparison mft;
    std::vector<named_entry> missing;  // see mft_comparison
    std::vector<named_entry> later;

    bar_chart bars;
    day_hours hours;

    found_bursts bursts;
    std::vector<burst_story> stories;  // of the listed bursts
    std::vector<extension_burst> extension_bursts;
    std::vector<wiping_burst> wiping_bursts;
    std::uint64_t marked_left_out = 0;
    bool renames_cut = false;

    ranked_things directories;
    ranked_things extensions;
    ranked_things files;

    std::vector<shown_record> rows;  // in order of arrival

    // Null for one that was not shown.
    [[nodiscard]] const shown_record* row_of(std::uint64_t arrival) const {
        const auto found = std::ranges::lower_bound(rows, arrival, {}, &shown_record::arrival);
        return found != rows.end() && found->arrival == arrival ? &*found : nullptr;
    }
};

}  // namespace report
