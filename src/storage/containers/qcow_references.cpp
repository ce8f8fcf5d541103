// How often each cluster of a QCOW2 file is led to, against what the file itself counts.
#include "storage/containers/big_endian.h"
#include "storage/containers/disk_fields.h"
#include "storage/containers/qcow_entry.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::uint64_t most_clusters = std::uint64_t{1} << 26U;

class reference_counts {
public:
    reference_counts(std::uint64_t cluster, std::uint64_t file_size)
        : cluster_(cluster), counts_(static_cast<std::size_t>((file_size + cluster - 1) / cluster)) {}

    // What the bytes lie in; false when all of that was led to before.
    bool add(std::uint64_t offset, std::uint64_t length) {
        bool first = false;
        for (std::uint64_t i = offset / cluster_; i < counts_.size() && i * cluster_ < offset + length; ++i) {
            std::uint16_t& count = counts_[static_cast<std::size_t>(i)];
            first = first || count == 0;
            if (count != std::numeric_limits<std::uint16_t>::max()) ++count;
        }
        return first;
    }

    [[nodiscard]] std::size_t size() const { return counts_.size(); }
    [[nodiscard]] std::uint16_t operator[](std::size_t i) const { return counts_[i]; }

private:
    std::uint64_t cluster_;
    std::vector<std::uint16_t> counts_;
};

// The number of `1 << order` bits at a place in a block of counts; the lowest bits of a byte come first.
std::uint64_t kept_count(byte_view block, std::size_t index, std::uint32_t order) {
    switch (order) {
        case 3: return block.value<std::uint8_t>(index);
        case 4: return big_endian<std::uint16_t>(block, index * 2);
        case 5: return big_endian<std::uint32_t>(block, index * 4);
        case 6: return big_endian<std::uint64_t>(block, index * 8);
        default: {
            const std::size_t bit = index << order;
            return (std::uint32_t{block.value<std::uint8_t>(bit / 8)} >> bit % 8) & ((1U << (1U << order)) - 1);
        }
    }
}

void add_clusters(disk_reader& file, const allocation_tables& tables, reference_counts& counts) {
    std::vector<std::uint8_t> bytes;
    for (const std::uint64_t table : tables.tables) {
        if (table == 0 || !counts.add(table, tables.block_size)) continue;  // which was gone through before
        if (!read_whole(file, table, static_cast<std::size_t>(tables.block_size), bytes)) continue;
        for (std::size_t i = 0; i < tables.blocks_per_table; ++i) {
            const qcow_entry entry(big_endian<std::uint64_t>(byte_view(bytes), i * 8), tables.block_size);
            if (!entry.possible || entry.offset == 0) continue;
            counts.add(entry.offset, entry.packed != 0 ? entry.packed : tables.block_size);
        }
    }
}

}  // namespace

void check_qcow_references(disk_reader& file, byte_view header, allocation_tables& tables) {
    using namespace qcow_header;
    const bool counted = big_endian<std::uint32_t>(header, version) == 2 ||
                         (big_endian<std::uint64_t>(header, incompatible) & is_dirty) == 0;
    // Snapshots and bitmaps lead to clusters too.
    const bool more_lead =
        big_endian<std::uint32_t>(header, snapshots) != 0 ||
        (big_endian<std::uint32_t>(header, version) == 3 && big_endian<std::uint64_t>(header, autoclear) != 0);
    const std::uint32_t order =
        big_endian<std::uint32_t>(header, version) == 2 ? 4 : big_endian<std::uint32_t>(header, count_order);
    const std::uint64_t cluster = tables.block_size;
    if (!counted || file.disk_size() / cluster >= most_clusters) return;
    const auto table = big_endian<std::uint64_t>(header, count_table);
    const std::uint64_t table_size = big_endian<std::uint32_t>(header, count_table_clusters) * cluster;
    const std::uint64_t per_block = order <= 6 ? cluster * 8 >> order : 0;
    reference_counts counts(cluster, file.disk_size());
    std::vector<std::uint8_t> blocks;
    if (per_block == 0 || table_size / 8 > most_tables ||
        !read_whole(file, table, static_cast<std::size_t>(table_size), blocks)) {
        tables.odd = true;
        return;
    }
    counts.add(0, cluster);
    counts.add(table, table_size);
    counts.add(big_endian<std::uint64_t>(header, table_offset),
               std::uint64_t{big_endian<std::uint32_t>(header, table_entries)} * 8);
    for (std::size_t at = 0; at < blocks.size(); at += 8) {
        if (const auto block = big_endian<std::uint64_t>(byte_view(blocks), at); block != 0) counts.add(block, cluster);
    }
    add_clusters(file, tables, counts);

    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (i % per_block == 0) {
            const auto block = big_endian<std::uint64_t>(byte_view(blocks), i / per_block * 8);
            if (block == 0 || !read_whole(file, block, static_cast<std::size_t>(cluster), bytes)) bytes.clear();
        }
        const std::uint64_t kept = kept_count(byte_view(bytes), i % per_block, order);
        if (counts[i] > kept) tables.conflicts.push_back(static_cast<std::uint32_t>(i));
        if (counts[i] < kept && !more_lead) tables.odd = true;
    }
}
