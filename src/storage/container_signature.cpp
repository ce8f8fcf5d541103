#include "storage/container_signature.h"

#include "storage/partitions.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace std::string_view_literals;

struct signature {
    std::string_view bytes;
    std::string_view format;
};

constexpr signature signatures[] = {
    {"EVF\x09\x0D\x0A\xFF\0"sv, "E01"},
    {"KDMV"sv, "VMDK"},
    {"# Disk DescriptorFile"sv, "VMDK"},
    {"conectix"sv, "VHD"},
    {"vhdxfile"sv, "VHDX"},
    {"QFI\xFB"sv, "QCOW2"},
};

}  // namespace

std::string_view container_format(byte_view first_bytes) {
    const auto* found =
        std::ranges::find_if(signatures, [&](const signature& one) { return holds_text(first_bytes, 0, one.bytes); });
    return found == std::end(signatures) ? std::string_view{} : found->format;
}
