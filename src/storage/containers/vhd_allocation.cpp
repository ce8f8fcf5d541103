#include "storage/containers/allocation.h"
#include "storage/containers/big_endian.h"
#include "storage/containers/disk_fields.h"
#include "storage/partitions.h"

#include "base/crc32.h"
#include "base/utf.h"

#include <algorithm>
#include <bit>

namespace {

constexpr std::uint64_t entries_at_once = 4096;

// The VHD footer and the header of a dynamic disk, big-endian.
namespace vhd {
constexpr std::size_t footer_size = 512;
constexpr std::size_t header_offset = 16;  // u64
constexpr std::size_t disk_type = 60;      // u32
constexpr std::size_t footer_sum = 64;     // u32
constexpr std::uint32_t dynamic_disk = 3;
constexpr std::uint32_t differencing_disk = 4;
constexpr std::size_t header_size = 1024;
constexpr std::size_t header_sum = 36;     // u32
constexpr std::size_t table_offset = 16;   // u64
constexpr std::size_t table_entries = 28;  // u32
constexpr std::size_t block_size = 32;     // u32
}  // namespace vhd

namespace vhdx {
constexpr std::uint64_t headers[] = {0x10000, 0x20000};
constexpr std::size_t header_size = 4096;
constexpr std::size_t header_sum = 4;  // u32, CRC-32C
constexpr std::size_t sequence = 8;    // u64
constexpr std::size_t log = 48;        // GUID
constexpr std::uint64_t region_tables[] = {0x30000, 0x40000};
constexpr std::size_t table_size = 0x10000;
constexpr std::size_t entry_size = 32;
constexpr std::size_t regions = 16;         // first entry of a region table
constexpr std::size_t region_count = 8;     // u32
constexpr std::size_t items = 32;           // first entry of a metadata table
constexpr std::size_t item_count = 10;      // u16
constexpr std::size_t place_in_entry = 16;  // behind the GUID: u64 and u32 of a region, u32 and u32 of an item
constexpr std::size_t region_length = 24;   // u32
constexpr std::uint32_t parent_flag = 2;
constexpr std::uint64_t sectors_per_bitmap = std::uint64_t{1} << 23U;
constexpr std::uint64_t header_section = std::uint64_t{1} << 20U;  // bytes that the headers and region tables take

using guid = std::array<std::uint8_t, 16>;
constexpr guid block_table{0x66, 0x77, 0xC2, 0x2D, 0x23, 0xF6, 0x00, 0x42,
                           0x9D, 0x64, 0x11, 0x5E, 0x9B, 0xFD, 0x4A, 0x08};
constexpr guid metadata{0x06, 0xA2, 0x7C, 0x8B, 0x90, 0x47, 0x9A, 0x4B, 0xB8, 0xFE, 0x57, 0x5F, 0x05, 0x0F, 0x88, 0x6E};
constexpr guid parameters{0x37, 0x67, 0xA1, 0xCA, 0x36, 0xFA, 0x43, 0x4D,
                          0xB3, 0xB6, 0x33, 0xF0, 0xAA, 0x44, 0xE7, 0x6B};
constexpr guid parent_locator{0x2D, 0x5F, 0xD3, 0xA8, 0x0B, 0xB3, 0x4D, 0x45,
                              0xAB, 0xF7, 0xD3, 0xD8, 0x48, 0x34, 0xAB, 0x0C};
constexpr std::size_t item_length = 20;    // u32
constexpr std::size_t locator_count = 18;  // u16, of the pairs that a parent locator has
constexpr std::size_t locator_pairs = 20;  // u32 and u32 where key and value stand, u16 and u16 their bytes
constexpr std::size_t pair_size = 12;
constexpr guid sector_size{0x1D, 0xBF, 0x41, 0x81, 0x6F, 0xA9, 0x09, 0x47,
                           0xBA, 0x47, 0xF2, 0x33, 0xA8, 0xFA, 0xAB, 0x5F};
}  // namespace vhdx

// The entry of a table that begins with `name`; empty when there is none.
byte_view entry_named(byte_view table, std::size_t first, std::size_t count, const vhdx::guid& name) {
    for (std::size_t i = 0; i < count; ++i) {
        byte_view entry;
        if (!table.sub(first + i * vhdx::entry_size, vhdx::entry_size, entry)) break;
        if (std::ranges::equal(entry.bytes().first(name.size()), name)) return entry;
    }
    return {};
}

std::u16string utf16(byte_view text) {
    std::u16string units;
    for (std::size_t at = 0; at + 2 <= text.size(); at += 2)
        units += static_cast<char16_t>(text.value<std::uint16_t>(at));
    return units;
}

// Where the parent lies as seen from its child; empty when the locator does not say.
std::string relative_path(byte_view locator) {
    const std::size_t count = locator.value<std::uint16_t>(vhdx::locator_count);
    byte_view pair;
    for (std::size_t i = 0; i < count && locator.sub(vhdx::locator_pairs + i * vhdx::pair_size, vhdx::pair_size, pair);
         ++i) {
        byte_view key;
        byte_view value;
        if (locator.sub(pair.value<std::uint32_t>(0), pair.value<std::uint16_t>(8), key) &&
            locator.sub(pair.value<std::uint32_t>(4), pair.value<std::uint16_t>(10), value) &&
            utf16(key) == u"relative_path") {
            return to_utf8(utf16(value));
        }
    }
    return {};
}

// VHD's checksum: all bytes but its own four, added, and turned over.
bool sum_fits(byte_view bytes, std::size_t at) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i < at || i >= at + 4) sum += bytes.value<std::uint8_t>(i);
    }
    return big_endian<std::uint32_t>(bytes, at) == ~sum;
}

// A table of entries in one piece, taken apart into tables that are read one at a time.
std::unique_ptr<allocation> split_table(allocation_tables tables, std::uint64_t at, std::uint64_t bytes_per_table,
                                        std::uint64_t disk_size) {
    const std::uint64_t covered = tables.block_size * tables.blocks_per_table;
    const std::uint64_t count = disk_size / covered + (disk_size % covered != 0 ? 1 : 0);
    if (count > most_tables) return nullptr;
    for (std::uint64_t i = 0; i < count; ++i) {
        tables.tables.push_back(at + i * bytes_per_table);
    }
    std::vector<allocation_extent> extents;
    extents.push_back({disk_size, false, std::move(tables)});
    return std::make_unique<allocation>(std::move(extents));
}

}  // namespace

std::unique_ptr<allocation> read_vhd_allocation(const std::string& path, std::uint64_t disk_size) {
    constexpr std::uint64_t sector = 512;
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file)) return nullptr;
    // The one at the end is what the library goes by; the one in front is its copy.
    const std::uint64_t end = file.disk_size() - std::min<std::uint64_t>(file.disk_size(), vhd::footer_size);
    if (!read_whole(file, end, vhd::footer_size, bytes)) return nullptr;
    const byte_view footer(bytes);
    const auto type = big_endian<std::uint32_t>(footer, vhd::disk_type);
    if (!holds_text(footer, 0, "conectix") || !sum_fits(footer, vhd::footer_sum)) return nullptr;
    if (type != vhd::dynamic_disk && type != vhd::differencing_disk) return nullptr;
    const auto header_at = big_endian<std::uint64_t>(footer, vhd::header_offset);
    if (!read_whole(file, header_at, vhd::header_size, bytes)) return nullptr;
    const byte_view header(bytes);
    const std::uint64_t table = big_endian<std::uint64_t>(header, vhd::table_offset);
    const std::uint64_t entries = big_endian<std::uint32_t>(header, vhd::table_entries);
    const std::uint64_t block = big_endian<std::uint32_t>(header, vhd::block_size);
    if (!holds_text(header, 0, "cxsparse") || !sum_fits(header, vhd::header_sum)) return nullptr;
    if (block < 8 * sector || !std::has_single_bit(block)) return nullptr;
    if (disk_size > entries * block || table > end || entries * 4 > end - table) return nullptr;
    // In front of each block stands a bit for each of its sectors.
    const std::uint64_t bitmap = (block / sector / 8 + sector - 1) / sector * sector;
    return split_table({.path = path,
                        .form = entry_form::vhd,
                        .block_size = block,
                        .lead = bitmap,
                        .blocks_per_table = entries_at_once,
                        .taken = {{0, vhd::footer_size},
                                  {header_at, header_at + vhd::header_size},
                                  {table, table + entries * 4},
                                  {end, end + vhd::footer_size}}},
                       table, entries_at_once * 4, disk_size);
}

bool read_vhdx_layout(disk_reader& file, vhdx_layout& layout) {
    std::vector<std::uint8_t> regions;
    for (const std::uint64_t at : vhdx::region_tables) {
        if (read_whole(file, at, vhdx::table_size, regions) && holds_text(byte_view(regions), 0, "regi")) break;
        regions.clear();
    }
    const byte_view region_table(regions);
    const std::size_t count = region_table.value<std::uint32_t>(vhdx::region_count);
    const byte_view blocks = entry_named(region_table, vhdx::regions, count, vhdx::block_table);
    const byte_view metadata = entry_named(region_table, vhdx::regions, count, vhdx::metadata);
    const auto metadata_at = metadata.value<std::uint64_t>(vhdx::place_in_entry);
    std::vector<std::uint8_t> bytes;
    if (metadata.size() == 0 || !read_whole(file, metadata_at, vhdx::table_size, bytes)) return false;
    const byte_view items(bytes);
    if (!holds_text(items, 0, "metadata")) return false;
    const std::size_t item_count = items.value<std::uint16_t>(vhdx::item_count);
    const auto item = [&](const vhdx::guid& name, std::size_t length, std::vector<std::uint8_t>& value) {
        const byte_view entry = entry_named(items, vhdx::items, item_count, name);
        const auto offset = entry.value<std::uint32_t>(vhdx::place_in_entry);
        return entry.size() != 0 && metadata_at + offset > metadata_at &&
               read_whole(file, metadata_at + offset, length, value);
    };
    const std::size_t locator_size =
        entry_named(items, vhdx::items, item_count, vhdx::parent_locator).value<std::uint32_t>(vhdx::item_length);
    std::vector<std::uint8_t> locator;
    if (locator_size <= vhdx::table_size && item(vhdx::parent_locator, locator_size, locator)) {
        layout.parent = relative_path(byte_view(locator));
    }
    std::vector<std::uint8_t> parameters;
    std::vector<std::uint8_t> sector;
    if (!item(vhdx::parameters, 8, parameters) || !item(vhdx::sector_size, 4, sector)) return false;
    layout.block_size = byte_view(parameters).value<std::uint32_t>(0);
    layout.has_parent = (byte_view(parameters).value<std::uint32_t>(4) & vhdx::parent_flag) != 0;
    layout.sector_size = byte_view(sector).value<std::uint32_t>(0);
    layout.table = blocks.value<std::uint64_t>(vhdx::place_in_entry);
    layout.table_size = blocks.value<std::uint32_t>(vhdx::region_length);
    layout.metadata = metadata_at;
    layout.metadata_size = metadata.value<std::uint32_t>(vhdx::region_length);
    const std::uint64_t size = file.disk_size();
    return blocks.size() != 0 && layout.table <= size && layout.table_size <= size - layout.table &&
           std::has_single_bit(layout.block_size) && layout.block_size >= 1U << 20U && layout.block_size <= 1U << 28U &&
           (layout.sector_size == 512 || layout.sector_size == 4096);
}

vhdx_headers read_vhdx_headers(disk_reader& file) {
    constexpr std::uint32_t castagnoli = 0x82F63B78;
    std::uint64_t newest = 0;
    bool damaged = false;
    bool pending = false;
    std::vector<std::uint8_t> bytes;
    for (const std::uint64_t at : vhdx::headers) {
        const bool whole = read_whole(file, at, vhdx::header_size, bytes);
        const auto sum = byte_view(bytes).value<std::uint32_t>(vhdx::header_sum);
        if (whole) std::fill_n(bytes.begin() + vhdx::header_sum, sizeof sum, std::uint8_t{0});
        if (!whole || !holds_text(byte_view(bytes), 0, "head") || crc32(bytes, castagnoli) != sum) {
            damaged = true;
            continue;
        }
        const auto sequence = byte_view(bytes).value<std::uint64_t>(vhdx::sequence);
        if (sequence < newest) continue;
        newest = sequence;
        const auto log = std::span(bytes).subspan(vhdx::log, 16);
        pending = std::ranges::any_of(log, [](std::uint8_t one) { return one != 0; });
    }
    if (pending) return vhdx_headers::log_pending;
    return damaged ? vhdx_headers::damaged : vhdx_headers::sound;
}

std::unique_ptr<allocation> read_vhdx_allocation(const std::string& path, std::uint64_t disk_size) {
    constexpr std::uint64_t most_behind = std::uint64_t{1} << 20U;  // bytes of the table behind the disk's end
    disk_reader file;
    vhdx_layout layout;
    if (!file.open(path, reader_mode::image_file) || !read_vhdx_layout(file, layout)) return nullptr;
    // Behind the entries of as many blocks as one sector bitmap would serve stands that of the bitmap.
    const std::uint64_t per_bitmap = vhdx::sectors_per_bitmap * layout.sector_size / layout.block_size;
    const std::uint64_t blocks = (disk_size + layout.block_size - 1) / layout.block_size;
    if (blocks == 0 || blocks + (blocks - 1) / per_bitmap > layout.table_size / 8) return nullptr;
    const std::uint64_t used = (blocks + (blocks - 1) / per_bitmap) * 8;
    allocation_tables tables{.path = path,
                             .form = layout.has_parent ? entry_form::vhdx_over : entry_form::vhdx,
                             .block_size = layout.block_size,
                             .blocks_per_table = per_bitmap,
                             .taken = {{0, vhdx::header_section},
                                       {layout.table, layout.table + layout.table_size},
                                       {layout.metadata, layout.metadata + layout.metadata_size}},
                             .odd = read_vhdx_headers(file) == vhdx_headers::damaged};
    std::vector<std::uint8_t> behind;
    const std::uint64_t rest = std::min(layout.table_size - used, most_behind);
    if (!layout.has_parent && read_whole(file, layout.table + used, static_cast<std::size_t>(rest), behind)) {
        tables.odd = tables.odd || std::ranges::any_of(behind, [](std::uint8_t one) { return one != 0; });
    }
    return split_table(std::move(tables), layout.table, (per_bitmap + 1) * 8, disk_size);
}
