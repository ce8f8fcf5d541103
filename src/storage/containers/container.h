// storage/containers/container.h: opens an image that keeps its disk in a form of its own, so that it reads like a raw
// one. The door of this room.
#pragma once

#include "storage/byte_source.h"
#include "storage/containers/container_signature.h"

#include <memory>
#include <string>
#include <vector>

struct opened_container {
    std::unique_ptr<byte_source> source;  // null: refused
    std::string told;  // why; or of a source that is not all there what is missing. One line without its end, or empty.
};

// Whether this build has the library.
[[nodiscard]] bool build_reads(container_reader reader);

// `path` has that format, whose reader the build has. Opens the files that belong to it too, none that lies elsewhere.
[[nodiscard]] opened_container open_container(const std::string& path, const container_format& format);

// The files that belong to the image at `path`, itself first: segments, extents, parents, as far as they are there.
// Nothing else for what is no container.
[[nodiscard]] std::vector<std::string> files_of_image(const std::string& path);
