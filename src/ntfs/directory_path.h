// ntfs/directory_path.h: the paths of directories, from each up to the root through the MFT. What is learnt of a
// directory is kept and shared by all paths that pass through it; a path itself is a few numbers, turned into text only
// when it is written. Made for one path resolution; the journal's records keep it for their paths.
#pragma once

#include "base/file_reference.h"
#include "ntfs/mft_reader.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// A directory and how far up the walk from it came.
struct directory_path {
    std::uint32_t directory = 0;  // in the cache
    std::uint32_t steps = 0;      // directories on the path, the root not counted
    bool corrupted = false;       // the walk ended at damage
};

class directory_path_cache {
public:
    explicit directory_path_cache(mft_reader& source) : source_(&source) {}

    [[nodiscard]] bool contains(std::uint64_t reference) const { return numbers_.contains(reference_order(reference)); }

    // Keeps name and parent of a directory; one that is there already stays as it is.
    void add(std::uint64_t reference, const mft_entry& entry) { (void)keep(reference, entry); }

    // Walks from a directory to the root, reading what is not kept yet. The walk ends early, and the path is marked,
    // where a parent chain loops, a parent was reused or is no directory, a name is gone, or the text would be longer
    // than a path on NTFS can be; a record that cannot be read ends it without a mark. False for a reference of all
    // ones.
    [[nodiscard]] bool build_directory_path(std::uint64_t reference, directory_path& path);

    // Replaces `out` with the text of a path: "[root]" and every name, each followed by "\".
    void compose(const directory_path& path, std::u16string& out) const;

    // Reads nothing from now on: the volume may be closed.
    void release_source() { source_ = nullptr; }

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    struct cached_directory {
        std::uint64_t reference = 0;
        std::uint64_t parent = 0;  // reference in its first name; 0 when it has no name
        std::uint64_t name_place = 0;
        std::uint32_t parent_number = none;  // known once a walk came by
        std::uint32_t walk = 0;              // the last walk that visited it
        std::uint32_t unsequenced_walk = 0;  // the same, by a reference without a sequence number
        std::uint32_t steps_to_root = 0;     // with itself; 0: not known, or it does not lead to the root
        std::uint32_t units_to_root = 0;
        std::uint8_t name_units = 0;
    };
    enum class step : std::uint8_t { good, unreadable, corrupted };

    std::uint32_t keep(std::uint64_t reference, const mft_entry& entry);
    [[nodiscard]] step find_or_load(std::uint64_t reference, std::uint32_t& number);
    [[nodiscard]] step load(std::uint64_t reference, std::uint32_t& number);
    [[nodiscard]] bool visited(const cached_directory& from) const;
    [[nodiscard]] step climb(std::uint64_t reference, directory_path& path);
    void note_way_to_root(const directory_path& path);
    [[nodiscard]] std::u16string_view name_of(const cached_directory& directory) const {
        return std::u16string_view(names_).substr(directory.name_place, directory.name_units);
    }

    mft_reader* source_;
    std::map<std::uint64_t, std::uint32_t> numbers_;  // by reference, in the order of references
    std::vector<cached_directory> directories_;
    std::u16string names_;
    std::uint32_t walk_ = 0;
};
