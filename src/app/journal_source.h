// app/journal_source.h: what a source option and its value stand for, and which files that is.
#pragma once

#include "storage/disk_reader.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// In the order of their precedence.
inline constexpr std::array<std::string_view, 4> source_options{"-partition", "-vss", "-file", "-image"};

enum class source_kind : std::uint8_t { live_volume, device_path, image, extracted_file };

struct journal_source {
    source_kind kind = source_kind::extracted_file;
    std::string typed;  // the option's value
    std::string path;   // of the volume, the image or the file
    reader_mode mode = reader_mode::image_file;
    std::uint64_t volume_offset = 0;  // bytes, of the NTFS volume inside an image
    std::string journal_path;         // what messages and documents call the journal
};

[[nodiscard]] journal_source source_named(std::string_view option, const std::string& value);

// The volume whose journal a path names that no file has: "c:\$Extend\$UsnJrnl:$J". An empty path when it names none.
[[nodiscard]] journal_source live_volume_behind(const journal_source& file);

// The files and device nodes that reading the source may open. An image is opened for that: it may name more.
[[nodiscard]] std::vector<std::string> nodes_of(const journal_source& source);
