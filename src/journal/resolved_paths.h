// journal/resolved_paths.h: what path resolution found out, kept beside the records: a number a record, a few bytes for
// every pair of parent and file, the names of directories once. Made by resolve_journal_paths, owned by the collection.
#pragma once

#include "journal/journal_entry.h"
#include "ntfs/directory_listing.h"
#include "ntfs/directory_path.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

enum class file_status : std::uint8_t { parent_missing, entry_missing, remnant, current };

class resolved_paths {
public:
    // `pairs`: how many there are; all have lost their parent until something else is noted. Times only when asked for.
    resolved_paths(std::vector<std::uint32_t> pair_of_record, std::size_t pairs, bool with_times)
        : pair_of_record_(std::move(pair_of_record)), outcomes_(pairs), times_(with_times ? pairs : 0), paths_(1) {}

    // A number for a path, which many pairs share.
    [[nodiscard]] std::uint32_t add_path(const directory_path& path);

    void note(std::uint32_t pair, std::uint32_t path, file_status status, const file_times& times);

    // What composes the paths; the last thing to be given.
    void keep_directories(std::unique_ptr<const directory_path_cache> directories);

    // Gives an entry path, status and times of the record that arrived as number `arrival`. A path that the entry holds
    // already is left as it is.
    void fill(std::size_t arrival, journal_entry& entry) const;

    // What `fill` will read first, and then, to be fetched ahead.
    [[nodiscard]] const void* outcome_place(std::size_t arrival) const { return &outcomes_[pair_of_record_[arrival]]; }
    [[nodiscard]] const void* text_place(std::size_t arrival) const {
        return texts_.data() + paths_[outcomes_[pair_of_record_[arrival]].path].text;
    }

private:
    struct outcome {
        std::uint32_t path = 0;
        file_status status = file_status::parent_missing;
    };
    std::vector<std::uint32_t> pair_of_record_;
    std::vector<outcome> outcomes_;
    std::vector<file_times> times_;
    struct kept_path {
        directory_path path;
        std::uint32_t units = 0;  // of its text; 0: it is too long to be kept
        std::uint64_t text = 0;   // where that begins
    };

    std::vector<kept_path> paths_;  // the first stands for no path
    std::u16string texts_;
    std::unique_ptr<const directory_path_cache> directories_;
};
