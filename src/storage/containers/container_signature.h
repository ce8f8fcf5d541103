// storage/containers/container_signature.h: image files that keep a disk in a form of their own, told by their first
// bytes. Their sectors do not stand where those of the disk do.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// Who reads it: a library of the build, or none that there is.
enum class container_reader : std::uint8_t { none, ewf, vhd, vmdk, qcow };

struct container_format {
    std::string_view name;  // empty for anything else, a raw image among them
    container_reader reader = container_reader::none;
};

inline constexpr std::size_t container_signature_size = 51;  // bytes that decide

// A VHD is told by the copy of its footer in front; one of fixed size has none and is raw but for its end.
[[nodiscard]] container_format container_format_of(byte_view first_bytes);
