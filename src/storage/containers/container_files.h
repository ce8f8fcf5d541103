// storage/containers/container_files.h: the other files of a container: which there are, by the names and descriptors
// of the first, and never outside its folder.
#pragma once

#include "storage/containers/allocation.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The file that a name inside an image stands for: beside it. None for a name that leads out of the folder.
[[nodiscard]] std::optional<std::string> file_beside(const std::string& image, std::string name);

// ---- E01: ewf_segments.cpp ---------------------------------------------------------------------------------------

// The path of the segment `number`, counted from 1, of the set that begins with `first`: .E01 to .E99, .EAA to .EZZ,
// .FAA and on; in the other case where only that is there. Empty when the name of the first is no such name, or behind
// the last number.
[[nodiscard]] std::string ewf_segment_path(const std::string& first, std::uint32_t number);

struct ewf_segments {
    std::vector<std::string> paths;  // from the first on; only the last may be cut short
    std::uint64_t chunks = 0;        // that their tables name
    std::string missing;             // what ends them before the set's end: a line without its end; else empty
};

// Goes through the section descriptors of each segment.
[[nodiscard]] ewf_segments find_ewf_segments(const std::string& first);

// ---- VMDK: vmdk_descriptor.cpp -----------------------------------------------------------------------------------

struct vmdk_extent {
    std::uint64_t sectors = 0;
    std::string type;  // "SPARSE", "FLAT", "ZERO", ...
    std::string name;  // of its file; empty for none
};

struct vmdk_descriptor {
    std::vector<vmdk_extent> extents;
    std::string parent;     // name of its descriptor; empty for none
    bool embedded = false;  // in the one extent that there is
};

// False when there is none, when it names more than a disk can have, or a parent without saying which.
[[nodiscard]] bool read_vmdk_descriptor(const std::string& path, vmdk_descriptor& descriptor);

// ---- QCOW2: container_files.cpp ----------------------------------------------------------------------------------

// The name of the backing file; empty for none, or for one that cannot be read.
[[nodiscard]] std::string qcow_backing_name(const std::string& path);
