// output/layouts.h: every layout as a row: its option, when and with what its output begins and ends, and how records
// become text. Whoever has to know of a layout looks here; a new one is a writer, a row, its option and its manual
// lines.
#pragma once

#include "base/progress.h"
#include "base/run_meter.h"
#include "journal/account.h"
#include "output/layout_settings.h"

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

class journal_collection;

namespace uni {

// What a layout's frame tells of the run.
struct frame_facts {
    std::string_view run_header;
    std::string_view banner;
    std::string_view image_path;  // empty: the source is no image
    std::string_view journal_path;
};

// What a run writes.
struct run_records {
    const journal_collection& all;
    std::string_view source;  // as the user typed it
};

// What the writing of every layout goes through.
struct writing {
    std::ostream& out;
    const layout_settings& settings;
    const run_records& records;
    run_meter& meter;
    progress& shown;
    record_account& account;
};

struct layout_row {
    layout id = layout::table;

    // For programs alone: no run header, not even of a run that fails early, and lines end with a line feed everywhere.
    bool bare = false;

    // Whether the output begins before it is known that there is a source to read.
    bool begins_at_once = true;

    std::string_view option = {};     // that chooses it; empty for the default
    std::string_view separator = {};  // that it begins with, where the user gives none

    std::string (*beginning)(const layout_settings& settings, const frame_facts& facts) = nullptr;
    std::string_view end = {};

    // Every record in its order, behind the layout's own header. See write_records.
    bool (*write)(const writing& on) = nullptr;

    // A line of text as a comment, where the layout has any. Null: it has none.
    std::string (*comment)(std::string_view text) = nullptr;
};

[[nodiscard]] std::span<const layout_row> layouts();
[[nodiscard]] const layout_row& row_of(layout id);

// The output phase. Text goes to the stream in blocks that end with a whole record, each flushed, so that whoever reads
// the file after a kill finds every record whole. True when the stream took every byte; stops early when it did not.
// What becomes of each record is added to the account.
[[nodiscard]] bool write_records(std::ostream& out, const layout_settings& settings, const run_records& records,
                                 run_meter& meter, progress& shown, record_account& account);

}  // namespace uni
