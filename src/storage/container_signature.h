// storage/container_signature.h: image files that keep a disk in a form of their own, told by their first bytes. Their
// sectors do not stand where those of the disk do, so another program has to make them raw first.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <string_view>

inline constexpr std::size_t container_signature_size = 21;  // bytes that decide

// "E01", "VMDK" (sparse, or a descriptor), "VHD" (with a copy of its footer in front), "VHDX" or "QCOW2"; empty for
// anything else, a raw image among them.
[[nodiscard]] std::string_view container_format(byte_view first_bytes);
