#include "storage/containers/container_signature.h"

#include "storage/partitions.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace std::string_view_literals;

struct signature {
    std::size_t at;
    std::string_view bytes;
    container_format format;
};

constexpr signature signatures[] = {
    {0, "EVF\x09\x0D\x0A\xFF\0"sv, {"E01", container_reader::ewf}},
    {0, "KDMV"sv, {"VMDK", container_reader::vmdk}},
    {0, "# Disk DescriptorFile"sv, {"VMDK", container_reader::vmdk}},
    {0, "conectix"sv, {"VHD", container_reader::vhd}},
    {0, "vhdxfile"sv, {"VHDX", container_reader::vhd}},
    {0, "QFI\xFB"sv, {"QCOW2", container_reader::qcow}},
    {0, "EVF2\x0D\x0A\x81\0"sv, {"Ex01"}},
    {0, "LVF\x09\x0D\x0A\xFF\0"sv, {"L01"}},
    {0, "LEF2\x0D\x0A\x81\0"sv, {"Lx01"}},
    {30, "container.description"sv, {"AFF4"}},  // the first file of a ZIP archive
    {30, "information.turtle"sv, {"AFF4"}},
};

}  // namespace

container_format container_format_of(byte_view first_bytes) {
    const auto* found = std::ranges::find_if(
        signatures, [&](const signature& one) { return holds_text(first_bytes, one.at, one.bytes); });
    return found == std::end(signatures) ? container_format{} : found->format;
}
