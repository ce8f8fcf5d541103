// tests/ntfs/opened_volume.h: a volume over an image in memory, with what it logs, what it reads and what it cannot
// read.
#pragma once

#include "ntfs/ntfs_volume.h"
#include "support/memory_source.h"
#include "support/ntfs_image_builder.h"

struct opened_volume {
    explicit opened_volume(bytes image, std::uint64_t volume_offset = 0) {
        log.open([this](std::string_view line) { said.append(line).append("\n"); });
        disk_reader reader;
        reader.open(std::make_unique<memory_source>(std::move(image), 1, true, &faults));
        volume.open_volume(std::move(reader), volume_offset);
    }

    std::string said;
    read_faults faults;
    diagnostic_log log;
    ntfs_volume volume{log};
};

// Extents as "LCN@VCN+length", a hole with "-" for its LCN.
inline std::string text_of(std::span<const extent> extents) {
    std::string text;
    for (const extent& one : extents) {
        text += (text.empty() ? "" : " ") + (one.sparse ? "-" : std::to_string(one.lcn)) + "@" +
                std::to_string(one.vcn) + "+" + std::to_string(one.length);
    }
    return text;
}
