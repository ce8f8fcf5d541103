// journal/ordered_reader.h: how writers read a collection: record after record in its order, each as an entry with its
// path and status.
#pragma once

#include "base/run_meter.h"
#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class journal_collection;

// Goes through a collection in its order, once, while nothing is added.
class ordered_reader {
public:
    // `each_once`: of records that are the same but for where they were found the first to arrive, which tells the
    // others.
    ordered_reader(const journal_collection& from, run_meter& meter, bool each_once = false);
    ~ordered_reader();
    ordered_reader(const ordered_reader&) = delete;
    ordered_reader& operator=(const ordered_reader&) = delete;

    // Of the whole collection.
    [[nodiscard]] std::size_t size() const;
    [[nodiscard]] bool has_paths() const;

    // False at the end. `entry` keeps its buffers, so nothing is allocated once they have grown.
    [[nodiscard]] bool next(journal_entry& entry);

    // How many were left out so far.
    [[nodiscard]] std::uint64_t repeats() const;

private:
    class insides;

    std::unique_ptr<insides> insides_;
};
