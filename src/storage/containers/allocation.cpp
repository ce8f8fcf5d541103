#include "storage/containers/allocation.h"

#include "base/byte_view.h"
#include "storage/containers/big_endian.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/qcow_entry.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <optional>
#include <span>

namespace {

constexpr std::uint64_t sector_size = 512;
constexpr auto no_place = std::numeric_limits<std::uint64_t>::max();

constexpr std::size_t entry_size(entry_form form) {
    return form == entry_form::vhd || form == entry_form::vmdk || form == entry_form::vmdk_zeroed ? 4 : 8;
}

struct vhdx_entry {
    static constexpr std::uint64_t unmapped = 3;  // and below: not present, undefined, zero
    static constexpr std::uint64_t fully_present = 6;
    static constexpr std::uint64_t partly_present = 7;  // over a parent, by the sectors that a bitmap names

    std::uint64_t state;
    std::uint64_t offset;
    bool possible;

    explicit vhdx_entry(std::uint64_t entry)
        : state(entry & 7U), offset(entry & ~std::uint64_t{0xFFFFF}), possible((entry & 0xFFFF8U) == 0) {}
};

// What conflicts are counted in: bytes of the file.
std::uint64_t unit_of(const allocation_tables& tables) {
    switch (tables.form) {
        case entry_form::vhdx:
        case entry_form::vhdx_over: return std::uint64_t{1} << 20U;
        case entry_form::qcow2:
        case entry_form::qcow3: return tables.block_size;
        default: return sector_size;
    }
}

// Where the entry `index` says that its block is kept: a byte offset, 0 for nowhere, no_place for what cannot be.
// `packed`: in so many bytes at most, 0 for all that the block has.
std::uint64_t kept_at(entry_form form, std::uint64_t block_size, byte_view table, std::size_t index,
                      std::uint64_t& packed) {
    packed = 0;
    const std::size_t at = index * entry_size(form);
    switch (form) {
        case entry_form::vhd: {
            const std::uint32_t sector = big_endian<std::uint32_t>(table, at);
            if (sector == std::numeric_limits<std::uint32_t>::max()) return 0;
            return sector == 0 ? no_place : sector * sector_size;
        }
        case entry_form::vhdx:
        case entry_form::vhdx_over: {
            const vhdx_entry entry(table.value<std::uint64_t>(at));
            const bool in_part = entry.state == vhdx_entry::partly_present && form == entry_form::vhdx_over;
            if (!entry.possible || (entry.state > vhdx_entry::unmapped && entry.offset == 0)) return no_place;
            if (entry.state <= vhdx_entry::unmapped) return 0;
            return entry.state == vhdx_entry::fully_present || in_part ? entry.offset : no_place;
        }
        case entry_form::vmdk:
        case entry_form::vmdk_zeroed: {
            const auto sector = table.value<std::uint32_t>(at);
            if (sector == 1) return form == entry_form::vmdk_zeroed ? 0 : no_place;
            return sector * sector_size;
        }
        case entry_form::qcow2:
        case entry_form::qcow3: {
            const qcow_entry entry(big_endian<std::uint64_t>(table, at), block_size);
            packed = entry.packed;
            if (!entry.possible || (entry.zeros && form == entry_form::qcow2)) return no_place;
            return entry.zeros ? 0 : entry.offset;
        }
    }
    return no_place;
}

}  // namespace

stretch allocation::at(std::uint64_t offset) {
    stretch found = own_at(offset);
    if (parent_ == nullptr) return found;
    bool kept = found.state == block_state::data;
    const allocation* over = this;
    while (found.state != block_state::lost && over->parent_ != nullptr && (!kept || over->in_part_)) {
        allocation& below = *over->parent_;
        const stretch next = below.own_at(offset);
        found.end = std::min(found.end, next.end);
        if (next.state == block_state::lost) found.state = block_state::lost;
        if (!kept) ++found.level;
        kept = kept || next.state == block_state::data;
        over = &below;
    }
    if (found.state == block_state::hole) found.state = block_state::data;
    return found;
}

stretch allocation::own_at(std::uint64_t offset) {
    std::uint64_t begin = 0;
    for (const allocation_extent& extent : extents_) {
        if (offset - begin < extent.size) {
            std::uint64_t end = 0;
            const block_state state = state_in(extent, offset - begin, end);
            return {state, begin + std::min(end, extent.size)};
        }
        begin += extent.size;
    }
    return {block_state::data, no_place};
}

std::string allocation::damage() {
    bool sound = true;
    bool odd = false;
    for (allocation* one = this; one != nullptr; one = one->parent_.get()) {
        for (allocation_extent& extent : one->extents_) {
            sound = one->find_conflicts(extent) && sound;
            odd = odd || extent.tables.odd;
        }
    }
    if (!sound) return "it is damaged or cut short, part of it is lost";
    return odd ? "its tables do not fit together, part of it may be missing" : std::string{};
}

// False when anything of the extent is lost.
bool allocation::find_conflicts(allocation_extent& extent) {
    constexpr std::size_t most_blocks = std::size_t{1} << 25U;  // of more no conflicts are looked for
    allocation_tables& tables = extent.tables;
    const std::uint64_t unit = unit_of(tables);
    const bool compared = !tables.packed && tables.form != entry_form::qcow2 && tables.form != entry_form::qcow3;
    const std::uint64_t stride = (tables.lead + tables.block_size + unit - 1) / unit;
    bool sound = tables.conflicts.empty();
    std::vector<std::uint32_t> units;
    std::uint64_t bytes = 0;  // of all tables: they take no more than their file has when each is kept by itself
    for (std::size_t i = 0; i < tables.tables.size(); ++i) {
        if (tables.tables[i] == 0) continue;
        load(extent, i);
        sound = sound && sound_;
        bytes += states_.size() * entry_size(tables.form);
        if (bytes > file_.disk_size()) return false;
        for (std::size_t block = 0; compared && block < states_.size(); ++block) {
            if (states_[block] != block_state::data || places_[block] == 0 || units.size() == most_blocks) continue;
            units.push_back(static_cast<std::uint32_t>(places_[block] / unit));
        }
    }
    std::ranges::sort(units);
    for (std::size_t i = 1; i < units.size(); ++i) {
        if (units[i] - units[i - 1] >= stride) continue;
        tables.conflicts.push_back(units[i - 1]);
        tables.conflicts.push_back(units[i]);
        sound = false;
    }
    loaded_from_ = nullptr;
    return sound;
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
    if (tables.packed && !markers_checked_) check_markers(tables, index * tables.blocks_per_table);
    const std::uint64_t block = at % covered / tables.block_size;
    const block_state state = states_[static_cast<std::size_t>(block)];
    std::uint64_t stop = block + 1;
    while (stop < states_.size() && states_[static_cast<std::size_t>(stop)] == state) ++stop;
    end = index * covered + stop * tables.block_size;
    return state;
}

// Whether a block of `length` bytes can be kept there.
bool allocation::may_be_kept(const allocation_tables& tables, std::uint64_t kept, std::uint64_t length) const {
    const std::uint64_t size = file_.disk_size();
    if (kept >= size || length > size - kept) return false;
    const std::uint64_t end = kept + length;
    if (std::ranges::any_of(tables.taken, [&](const file_range& one) { return one.begin < end && kept < one.end; })) {
        return false;
    }
    const std::uint64_t unit = unit_of(tables);
    const auto first = std::ranges::lower_bound(tables.conflicts, kept / unit);
    return first == tables.conflicts.end() || *first * unit >= end;
}

void allocation::load(const allocation_extent& extent, std::size_t index) {
    const allocation_tables& tables = extent.tables;
    if (loaded_from_ == nullptr || loaded_from_->path != tables.path) {
        file_.close();
        (void)file_.open(tables.path, reader_mode::image_file);  // when not, nothing is read below
    }
    loaded_from_ = &tables;
    loaded_index_ = index;
    markers_checked_ = false;
    // Of the last table only the entries that the disk has.
    const std::uint64_t before = index * tables.blocks_per_table;
    const std::uint64_t all = (extent.size + tables.block_size - 1) / tables.block_size;
    const auto blocks = static_cast<std::size_t>(std::min(all - std::min(before, all), tables.blocks_per_table));
    states_.assign(blocks, block_state::lost);
    places_.assign(blocks, 0);
    const std::size_t size = entry_size(tables.form);
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> copy;
    sound_ = blocks == 0 || read_whole(file_, tables.tables[index], blocks * size, bytes);
    if (!sound_ || blocks == 0) return;
    if (!tables.copies.empty()) (void)read_whole(file_, tables.copies[index], bytes.size(), copy);
    // Behind the entries stands that of the bitmap for blocks that are there in part; without it nothing tells the
    // part.
    const bool over = tables.form == entry_form::vhdx_over;
    const bool has_bitmap = over &&
                            read_whole(file_, tables.tables[index] + tables.blocks_per_table * size, size, copy) &&
                            vhdx_entry(byte_view(copy).value<std::uint64_t>(0)).state == vhdx_entry::fully_present;
    const entry_form form = over && !has_bitmap ? entry_form::vhdx : tables.form;
    const std::span<const std::uint8_t> same = tables.copies.empty() ? bytes : copy;
    for (std::size_t i = 0; i < blocks; ++i) {
        std::uint64_t packed = 0;
        const std::uint64_t kept = kept_at(form, tables.block_size, byte_view(bytes), i, packed);
        std::uint64_t length =
            std::min(tables.block_size, extent.size - (before + i) * tables.block_size) + tables.lead;
        if (tables.packed) length = 1;
        // The last sector that packed bytes reach into may be cut off.
        if (packed != 0) length = std::min(packed, file_.disk_size() - std::min(kept, file_.disk_size() - 1));
        const bool kept_twice =
            same.size() == bytes.size() &&
            std::ranges::equal(std::span(bytes).subspan(i * size, size), same.subspan(i * size, size));
        const bool true_one = kept_twice && (kept == 0 || may_be_kept(tables, kept, length));
        sound_ = sound_ && true_one;
        if (!true_one) continue;
        states_[i] = kept == 0 ? block_state::hole : block_state::data;
        places_[i] = kept;
    }
    if (!sound_ && parent_ == nullptr) std::ranges::replace(states_, block_state::hole, block_state::data);
}

bool allocation::agrees(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    const allocation_tables& tables = extents_.front().tables;
    if (tables.form != entry_form::vhd || parent_ != nullptr || own_at(offset).state != block_state::data) return true;
    const std::uint64_t in_block = offset % tables.block_size;
    const auto block = static_cast<std::size_t>(offset / tables.block_size % tables.blocks_per_table);
    std::vector<std::uint8_t> kept;
    return bytes.size() <= tables.block_size - in_block &&
           read_whole(file_, places_[block] + tables.lead + in_block, bytes.size(), kept) &&
           std::ranges::equal(kept, bytes);
}

// In front of each packed grain stand the sector of the disk that it begins with, u64, and its length, u32.
void allocation::check_markers(const allocation_tables& tables, std::uint64_t before) {
    constexpr std::size_t marker = 12;
    markers_checked_ = true;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < states_.size(); ++i) {
        if (places_[i] == 0) continue;
        const bool mine =
            read_whole(file_, places_[i], marker, bytes) &&
            byte_view(bytes).value<std::uint64_t>(0) == (before + i) * (tables.block_size / sector_size) &&
            byte_view(bytes).value<std::uint32_t>(8) <= file_.disk_size() - places_[i] - marker;
        if (!mine) states_[i] = block_state::lost;
    }
}
