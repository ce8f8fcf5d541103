// storage/containers/media.h: one container opened by its library. Each is in a build that has the library.
#pragma once

#include "storage/containers/medium.h"

#include <memory>
#include <string>
#include <vector>

struct opened_medium {
    std::unique_ptr<medium> disk;        // null: refused
    std::unique_ptr<allocation> tables;  // null: of a format without
    std::string told;                    // as of an opened_container
};

[[nodiscard]] opened_medium open_ewf(const std::string& path);
[[nodiscard]] opened_medium open_vhd(const std::string& path);  // VHD and VHDX
[[nodiscard]] opened_medium open_vmdk(const std::string& path);
[[nodiscard]] opened_medium open_qcow(const std::string& path);

// The name of the parent of a differencing VHD or VHDX; empty for none.
[[nodiscard]] std::string vhd_parent_name(const std::string& path);

// What is read at once of a disk that is kept as it is.
inline constexpr std::size_t usual_chunk = std::size_t{64} << 10U;

// Of one container at a time.
inline constexpr std::size_t most_open_files = 256;

// Images that a disk is put together from, itself included.
inline constexpr std::size_t longest_chain = 32;

[[nodiscard]] inline opened_medium refused(std::string why) { return {nullptr, nullptr, std::move(why)}; }
[[nodiscard]] inline opened_medium refused_parent(const std::string& name) {
    return refused("its parent " + name + " does not lie beside it");
}

// The tables of an image, of its parent, and so on, as one. `in_part`: a child may keep less than a block.
[[nodiscard]] inline std::unique_ptr<allocation> laid_over_each_other(std::vector<std::unique_ptr<allocation>> tables,
                                                                      bool in_part) {
    while (tables.size() > 1) {
        std::unique_ptr<allocation> parent = std::move(tables.back());
        tables.pop_back();
        tables.back()->lay_over(std::move(parent), in_part);
    }
    return std::move(tables.front());
}
