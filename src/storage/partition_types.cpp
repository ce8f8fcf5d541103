#include "storage/partitions.h"

#include <algorithm>
#include <string_view>

namespace {

struct named_type {
    std::uint8_t type;
    std::string_view name;
};

constexpr named_type names[] = {
    {0x00, "empty"},
    {0x01, "fat12"},
    {0x02, "xenix root"},
    {0x03, "xenix /usr"},
    {0x04, "fat16"},
    {0x05, "exten"},
    {0x06, "fat"},
    {0x07, "ntfs or exfat"},
    {0x08, "aix boot"},
    {0x09, "aix data"},
    {0x0A, "os/2 boot"},
    {0x0B, "fat32"},
    {0x0C, "fat32"},
    {0x0E, "fat16 LBA mapped"},
    {0x0F, "exten"},
    {0x11, "hidden fat16"},
    {0x14, "hidden fat16"},
    {0x16, "hidden fat16"},
    {0x17, "hidden ntfs"},
    {0x1B, "hidden fat32"},
    {0x1C, "hidden fat32"},
    {0x1E, "hidden fat16"},
    {0x27, "hidden ntfs"},
    {0x82, "linux swap"},
    {0x83, "linux"},
    {0x86, "fat16 volume set"},
    {0x87, "ntfs volume set"},
    {0x88, "linux partition table"},
    {0x8B, "fat32 fault tolerant"},
    {0x8C, "fat32 fault tolerant"},
    {0x8D, "fat12"},
    {0x8E, "linux Logical Volume Mgr"},
    {0x90, "hidden fat16"},
    {0x91, "hidden fat16"},
    {0x92, "hidden fat16"},
    {0x93, "hidden linux"},
    {0x97, "hidden fat32"},
    {0x98, "hidden fat32"},
    {0xA0, "hibernation partition"},
    {0xA1, "hibernation partition"},
    {0xA6, "openbsd"},
    {0xAF, "hfs"},
    {0xEE, "gpt"},
};

struct type_range {
    std::uint8_t first;
    std::uint8_t last;
};

constexpr type_range known[] = {
    {0x01, 0x01}, {0x04, 0x08}, {0x0B, 0x0C}, {0x0E, 0x0F}, {0x11, 0x12}, {0x14, 0x16}, {0x1B, 0x1C},
    {0x1E, 0x1F}, {0x24, 0x24}, {0x27, 0x27}, {0x41, 0x43}, {0x56, 0x56}, {0x64, 0x64}, {0x66, 0x66},
    {0x74, 0x74}, {0x76, 0x76}, {0x79, 0x7D}, {0x80, 0x88}, {0x8B, 0x8C}, {0x8E, 0x8E}, {0x90, 0x93},
    {0x97, 0x98}, {0x9A, 0x9A}, {0xA8, 0xA8}, {0xAB, 0xAC}, {0xAF, 0xAF}, {0xB6, 0xB7}, {0xBB, 0xBC},
    {0xC2, 0xC7}, {0xCB, 0xCF}, {0xD4, 0xD6}, {0xD8, 0xD8}, {0xDE, 0xDE}, {0xE4, 0xE6}, {0xE8, 0xE8},
    {0xEF, 0xF0}, {0xF2, 0xF2}, {0xF4, 0xF4}, {0xF6, 0xF6}, {0xF9, 0xF9}, {0xFB, 0xFE},
};

}  // namespace

std::string partition_type_name(std::uint16_t type) {
    const bool guessed = (type & guessed_partition) != 0;
    const std::uint16_t looked_up = guessed ? type & 0xFFU : type;
    const auto* found = std::ranges::find(names, looked_up, &named_type::type);
    std::string name(found != std::end(names) ? found->name : "unk");
    return guessed ? name + " [guess]" : name;
}

bool is_known_partition_type(std::uint8_t type) {
    return std::ranges::any_of(known,
                               [type](const type_range& range) { return type >= range.first && type <= range.last; });
}
