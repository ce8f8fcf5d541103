// Two levels of tables: QCOW2 and sparse VMDK extents.
#include "storage/containers/allocation.h"
#include "storage/containers/big_endian.h"
#include "storage/containers/disk_fields.h"
#include "storage/partitions.h"

#include <bit>

namespace {

constexpr std::uint64_t largest_grain = 2048;         // sectors
constexpr std::uint32_t entries_of_table = 512;       // of each table of a sparse extent
constexpr std::uint64_t nowhere = ~std::uint64_t{0};  // what a table that cannot be is read from

// The sectors that a grain directory names.
bool read_directory(disk_reader& file, std::uint64_t at, std::uint64_t count, std::vector<std::uint64_t>& tables) {
    std::vector<std::uint8_t> bytes;
    if (at > file.disk_size() / vmdk_sector ||
        !read_whole(file, at * vmdk_sector, static_cast<std::size_t>(count * 4), bytes)) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        tables.push_back(byte_view(bytes).value<std::uint32_t>(i * 4) * vmdk_sector);
    }
    return true;
}

}  // namespace

std::unique_ptr<allocation> read_qcow_allocation(const std::string& path, std::uint64_t disk_size) {
    constexpr std::uint64_t reserved = 0x7F00'0000'0000'01FF;
    constexpr std::uint64_t alone = std::uint64_t{1} << 63U;
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file) || !read_whole(file, 0, qcow_header::compression, bytes)) {
        return nullptr;
    }
    const std::vector<std::uint8_t> first(bytes);
    const byte_view header(first);
    const auto version = big_endian<std::uint32_t>(header, qcow_header::version);
    const auto bits = big_endian<std::uint32_t>(header, qcow_header::cluster_bits);
    const std::uint64_t count = big_endian<std::uint32_t>(header, qcow_header::table_entries);
    const auto table = big_endian<std::uint64_t>(header, qcow_header::table_offset);
    if ((version != 2 && version != 3) || bits < 9 || bits > 21 || count > most_tables) return nullptr;
    allocation_tables tables{.path = path,
                             .form = version == 2 ? entry_form::qcow2 : entry_form::qcow3,
                             .block_size = std::uint64_t{1} << bits,
                             .blocks_per_table = (std::uint64_t{1} << bits) / 8};
    const std::uint64_t covered = tables.block_size * tables.blocks_per_table;
    if (disk_size > count * covered || table % tables.block_size != 0) return nullptr;
    if (!read_whole(file, table, static_cast<std::size_t>(count * 8), bytes)) return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        const auto entry = big_endian<std::uint64_t>(byte_view(bytes), i * 8);
        const std::uint64_t at = entry & ~(alone | reserved);
        if (i * covered >= disk_size && entry != 0) tables.odd = true;
        const bool possible = (entry & reserved) == 0 && at % tables.block_size == 0 && (at != 0 || entry == 0);
        tables.tables.push_back(possible ? at : nowhere);
    }
    check_qcow_references(file, header, tables);
    std::vector<allocation_extent> extents;
    extents.push_back({disk_size, false, std::move(tables)});
    return std::make_unique<allocation>(std::move(extents));
}

bool read_vmdk_layout(disk_reader& file, vmdk_layout& layout) {
    using namespace vmdk_header;
    const std::uint64_t file_size = file.disk_size();
    std::vector<std::uint8_t> bytes;
    for (const std::uint64_t at : {std::uint64_t{0}, file_size - footer}) {
        if (!read_whole(file, at, size, bytes) || !holds_text(byte_view(bytes), 0, signature)) return false;
        const byte_view header(bytes);
        const bool twice = (header.value<std::uint32_t>(flags) & kept_twice) != 0;
        layout = {.capacity = header.value<std::uint64_t>(capacity),
                  .grain = header.value<std::uint64_t>(grain_size),
                  .entries_per_table = header.value<std::uint32_t>(entries_per_table),
                  .directory = header.value<std::uint64_t>(directory),
                  .copied_directory = twice ? header.value<std::uint64_t>(copied_directory) : 0,
                  .first_grain = header.value<std::uint64_t>(first_grain),
                  .packed = header.value<std::uint16_t>(compression) != 0,
                  .zeroed_grains = (header.value<std::uint32_t>(flags) & vmdk_header::zeroed_grains) != 0};
        if (layout.grain == 0 || layout.grain > largest_grain) return false;
        if (layout.entries_per_table != entries_of_table || !holds_text(header, line_ends, "\n \r\n")) return false;
        // The directory takes four bytes a table.
        if (layout.capacity / layout.grain / layout.entries_per_table > file_size / 4) return false;
        if (layout.directory != at_end) return true;
    }
    return false;
}

allocation_tables read_vmdk_tables(const std::string& path) {
    disk_reader file;
    vmdk_layout layout;
    if (!file.open(path, reader_mode::image_file) || !read_vmdk_layout(file, layout)) return {};
    const std::uint64_t covered = layout.grain * layout.entries_per_table;
    const std::uint64_t count = layout.capacity / covered + (layout.capacity % covered != 0 ? 1 : 0);
    if (!std::has_single_bit(layout.grain) || count > most_tables) return {};
    allocation_tables tables{.path = path,
                             .form = layout.zeroed_grains ? entry_form::vmdk_zeroed : entry_form::vmdk,
                             .packed = layout.packed,
                             .block_size = layout.grain * vmdk_sector,
                             .blocks_per_table = layout.entries_per_table};
    if (!read_directory(file, layout.directory, count, tables.tables)) return {};
    if (layout.packed || layout.first_grain > file.disk_size() / vmdk_sector) return tables;
    tables.taken.push_back({0, layout.first_grain * vmdk_sector});
    if (layout.copied_directory == 0) return tables;
    if (!read_directory(file, layout.copied_directory, count, tables.copies)) return {};
    // A table that only one of the two knows is none that can be gone by.
    for (std::size_t i = 0; i < count; ++i) {
        if ((tables.tables[i] == 0) != (tables.copies[i] == 0)) tables.tables[i] = nowhere;
    }
    return tables;
}
