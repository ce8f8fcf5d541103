#include "storage/containers/allocation.h"

#include "base/byte_view.h"
#include "storage/containers/big_endian.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <optional>
#include <span>

namespace {

constexpr std::uint64_t sector_size = 512;
constexpr auto no_offset = std::numeric_limits<std::uint64_t>::max();

constexpr std::size_t entry_size(entry_form form) {
    return form == entry_form::vhd || form == entry_form::vmdk || form == entry_form::vmdk_zeroed ? 4 : 8;
}

// Where the entry `index` says that its block is kept: a byte offset, 0 for nowhere, no_offset for what cannot be.
// `packed`: in fewer bytes than the block has.
std::uint64_t kept_at(entry_form form, std::uint64_t block_size, byte_view table, std::size_t index, bool& packed) {
    packed = false;
    const std::size_t at = index * entry_size(form);
    switch (form) {
        case entry_form::vhd: {
            const std::uint32_t sector = big_endian<std::uint32_t>(table, at);
            if (sector == std::numeric_limits<std::uint32_t>::max()) return 0;
            return sector == 0 ? no_offset : sector * sector_size;
        }
        case entry_form::vhdx: {
            constexpr std::uint64_t state = 7;
            constexpr std::uint64_t fully_present = 6;
            constexpr std::uint64_t unmapped = 3;  // and below: not present, undefined, zero
            constexpr std::uint64_t offset = ~std::uint64_t{0xFFFFF};
            const auto entry = table.value<std::uint64_t>(at);
            if ((entry & state) <= unmapped) return 0;
            return (entry & state) == fully_present && (entry & offset) != 0 ? entry & offset : no_offset;
        }
        case entry_form::vmdk:
        case entry_form::vmdk_zeroed: {
            const auto sector = table.value<std::uint32_t>(at);
            if (sector == 1) return form == entry_form::vmdk_zeroed ? 0 : no_offset;
            return sector * sector_size;
        }
        case entry_form::qcow2:
        case entry_form::qcow3: {
            constexpr std::uint64_t compressed = std::uint64_t{1} << 62U;
            constexpr std::uint64_t offset = 0x00FF'FFFF'FFFF'FE00;
            const std::uint64_t entry = big_endian<std::uint64_t>(table, at);
            // Compressed bytes begin anywhere; above their offset stands how many sectors they take.
            const std::uint64_t offset_bits = std::uint64_t{1} << (70 - std::bit_width(block_size - 1));
            packed = (entry & compressed) != 0;
            if (packed) return std::max<std::uint64_t>(entry & (offset_bits - 1), 1);
            if (form == entry_form::qcow3 && (entry & 1U) != 0) return 0;
            return entry & offset;
        }
    }
    return no_offset;
}

}  // namespace

block_state allocation::state_at(std::uint64_t offset, std::uint64_t& end) {
    std::uint64_t begin = 0;
    for (const allocation_extent& extent : extents_) {
        if (offset - begin < extent.size) {
            const block_state state = state_in(extent, offset - begin, end);
            end = begin + std::min(end, extent.size);
            return state;
        }
        begin += extent.size;
    }
    end = no_offset;
    return block_state::data;
}

bool allocation::sound() {
    for (const allocation_extent& extent : extents_) {
        std::uint64_t bytes = 0;  // of all tables: they take no more than their file has when each is kept by itself
        for (std::size_t i = 0; i < extent.tables.tables.size(); ++i) {
            if (extent.tables.tables[i] == 0) continue;
            load(extent, i);
            bytes += states_.size() * entry_size(extent.tables.form);
            if (!sound_ || bytes > file_.disk_size()) return false;
        }
    }
    return true;
}

block_state allocation::state_in(const allocation_extent& extent, std::uint64_t at, std::uint64_t& end) {
    const allocation_tables& tables = extent.tables;
    end = extent.size;
    if (tables.tables.empty()) return extent.hole ? block_state::hole : block_state::data;
    const std::uint64_t covered = tables.block_size * tables.blocks_per_table;
    const std::uint64_t index = at / covered;
    if (index >= tables.tables.size()) return block_state::data;
    end = (index + 1) * covered;
    if (tables.tables[static_cast<std::size_t>(index)] == 0) return block_state::hole;
    if (loaded_from_ != &tables || loaded_index_ != index) load(extent, static_cast<std::size_t>(index));
    const std::uint64_t block = at % covered / tables.block_size;
    const block_state state = states_[static_cast<std::size_t>(block)];
    std::uint64_t stop = block + 1;
    while (stop < states_.size() && states_[static_cast<std::size_t>(stop)] == state) ++stop;
    end = index * covered + stop * tables.block_size;
    return state;
}

void allocation::load(const allocation_extent& extent, std::size_t index) {
    const allocation_tables& tables = extent.tables;
    if (loaded_from_ == nullptr || loaded_from_->path != tables.path) {
        file_.close();
        (void)file_.open(tables.path, reader_mode::image_file);  // when not, nothing is read below
    }
    loaded_from_ = &tables;
    loaded_index_ = index;
    // Of the last table only the entries that the disk has.
    const std::uint64_t before = index * tables.blocks_per_table;
    const std::uint64_t all = (extent.size + tables.block_size - 1) / tables.block_size;
    const auto blocks = static_cast<std::size_t>(std::min(all - std::min(before, all), tables.blocks_per_table));
    states_.assign(blocks, block_state::lost);
    std::vector<std::uint8_t> bytes(blocks * entry_size(tables.form));
    std::size_t got = 0;
    sound_ = blocks == 0 || (file_.read_at(tables.tables[index], bytes, got) && got == bytes.size());
    if (!sound_) return;
    const std::uint64_t file_size = file_.disk_size();
    for (std::size_t i = 0; i < blocks; ++i) {
        bool packed = false;
        const std::uint64_t kept = kept_at(tables.form, tables.block_size, byte_view(bytes), i, packed);
        const std::uint64_t length = std::min(tables.block_size, extent.size - (before + i) * tables.block_size);
        const bool inside = kept < file_size && (packed || tables.packed || kept == 0 || length <= file_size - kept);
        if (inside) states_[i] = kept == 0 ? block_state::hole : block_state::data;
        sound_ = sound_ && inside;
    }
    if (!sound_) std::ranges::replace(states_, block_state::hole, block_state::data);
}
