// Two levels of tables: QCOW2 and sparse VMDK extents.
#include "storage/containers/allocation.h"
#include "storage/containers/big_endian.h"
#include "storage/containers/disk_fields.h"
#include "storage/partitions.h"

#include <bit>

namespace {

constexpr std::uint64_t most_tables = std::uint64_t{1} << 22U;
constexpr std::uint64_t sector = 512;

}  // namespace

std::unique_ptr<allocation> read_qcow_allocation(const std::string& path, std::uint64_t disk_size) {
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file) || !read_whole(file, 0, qcow_header::compression, bytes)) {
        return nullptr;
    }
    const byte_view header(bytes);
    const auto version = big_endian<std::uint32_t>(header, qcow_header::version);
    const auto bits = big_endian<std::uint32_t>(header, qcow_header::cluster_bits);
    const std::uint64_t count = big_endian<std::uint32_t>(header, qcow_header::table_entries);
    const auto table = big_endian<std::uint64_t>(header, qcow_header::table_offset);
    const bool backed = big_endian<std::uint64_t>(header, qcow_header::backing_offset) != 0;
    if ((version != 2 && version != 3) || bits < 9 || bits > 21 || backed || count > most_tables) return nullptr;
    allocation_tables tables{path,
                             version == 2 ? entry_form::qcow2 : entry_form::qcow3,
                             false,
                             std::uint64_t{1} << bits,
                             (std::uint64_t{1} << bits) / 8,
                             {}};
    if (disk_size > count * tables.block_size * tables.blocks_per_table) return nullptr;
    if (!read_whole(file, table, static_cast<std::size_t>(count * 8), bytes)) return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        tables.tables.push_back(big_endian<std::uint64_t>(byte_view(bytes), i * 8) & 0x00FF'FFFF'FFFF'FE00);
    }
    std::vector<allocation_extent> extents;
    extents.push_back({disk_size, false, std::move(tables)});
    return std::make_unique<allocation>(std::move(extents));
}

allocation_tables read_vmdk_tables(const std::string& path) {
    disk_reader file;
    std::vector<std::uint8_t> bytes;
    if (!file.open(path, reader_mode::image_file) || !read_whole(file, 0, vmdk_header::size, bytes)) return {};
    if (byte_view(bytes).value<std::uint64_t>(vmdk_header::directory) == vmdk_header::at_end) {
        const std::uint64_t size = file.disk_size();
        if (size < vmdk_header::footer || !read_whole(file, size - vmdk_header::footer, vmdk_header::size, bytes)) {
            return {};
        }
    }
    const byte_view header(bytes);
    const auto capacity = header.value<std::uint64_t>(vmdk_header::capacity);
    const auto grain = header.value<std::uint64_t>(vmdk_header::grain_size);
    const std::uint64_t entries = header.value<std::uint32_t>(vmdk_header::entries_per_table);
    const auto directory = header.value<std::uint64_t>(vmdk_header::directory);
    const bool packed = header.value<std::uint16_t>(vmdk_header::compression) != 0;
    const bool zeroed = (header.value<std::uint32_t>(vmdk_header::flags) & vmdk_header::zeroed_grains) != 0;
    if (!holds_text(header, 0, vmdk_header::signature) || !std::has_single_bit(grain) || grain > 0x8000) return {};
    if (entries == 0 || entries > 0x10000 || directory > file.disk_size() / sector) return {};
    const std::uint64_t count = capacity / (grain * entries) + (capacity % (grain * entries) != 0 ? 1 : 0);
    if (count > most_tables) return {};
    if (!read_whole(file, directory * sector, static_cast<std::size_t>(count * 4), bytes)) return {};
    allocation_tables tables{path, zeroed ? entry_form::vmdk_zeroed : entry_form::vmdk, packed, grain * sector, entries,
                             {}};
    for (std::size_t i = 0; i < count; ++i) {
        tables.tables.push_back(byte_view(bytes).value<std::uint32_t>(i * 4) * sector);
    }
    return tables;
}
