#include "ntfs/directory_index.h"

#include "base/file_reference.h"
#include "ntfs/fixup.h"
#include "ntfs/index_node.h"
#include "ntfs/stream_pull.h"

#include <algorithm>
#include <vector>

namespace {

constexpr std::u16string_view directory_index_name = u"$I30";

// A base record is no extension record; a longer chain is damage.
constexpr int most_redirections = 4;

// The result is the size of the index's blocks in bytes.
std::uint32_t visit_root(const ntfs_volume& volume, const mft_entry& directory, const node_visitor& visit) {
    ntfs_stream root;
    if (!collect_stream(directory, attribute_type::index_root, directory_index_name, volume.cluster_size(), root)) {
        return index_block::size;
    }
    const auto block_size = root.content.value<std::uint32_t>(index_root_value::block_size);
    if (!root.resident ||
        root.content.value<std::uint32_t>(index_root_value::indexed_type) != attribute_type::file_name ||
        block_size == 0) {
        return index_block::size;
    }
    visit(root.content.from(index_root_value::node), true);
    return block_size;
}

// Which blocks of an index are in use, by the bits of its $BITMAP. What those do not tell is in use.
class block_usage {
public:
    block_usage() = default;
    block_usage(ntfs_volume& volume, const mft_entry& directory, std::uint32_t block_size) : block_size_(block_size) {
        constexpr std::uint64_t most_bytes = 1U << 24U;
        ntfs_stream bitmap;
        if (!collect_stream(directory, attribute_type::bitmap, directory_index_name, volume.cluster_size(), bitmap)) {
            return;
        }
        if (bitmap.resident) {
            bits_.assign(bitmap.content.bytes().begin(), bitmap.content.bytes().end());
            return;
        }
        std::size_t got = 0;
        bits_.resize(static_cast<std::size_t>(
            std::min({bitmap.real_size, extent_bytes(bitmap.extents, volume.cluster_size(), false), most_bytes})));
        if (!volume.read_stream_range(bitmap.extents, 0, bits_, got)) got = 0;
        bits_.resize(got);
    }

    // `offset`: bytes, of a block in the allocation.
    [[nodiscard]] bool in_use(std::uint64_t offset) const {
        const std::uint64_t block = offset / block_size_;
        return block / 8 >= bits_.size() || (bits_[static_cast<std::size_t>(block / 8)] >> block % 8 & 1U) != 0;
    }

private:
    std::uint32_t block_size_ = index_block::size;
    std::vector<std::uint8_t> bits_;
};

// What the runs of an index claim of the source, each for itself: damaged ones overlap.
std::uint64_t claimed_bytes(const ntfs_volume& volume, const extent_list& extents) {
    const std::uint64_t most = most_index_bytes(volume);
    std::uint64_t claimed = 0;
    for (const extent& part : extents) {
        if (part.sparse) continue;
        const std::uint64_t most_clusters = most / 2 / volume.cluster_size() + 1;
        claimed += std::min(part.length, most_clusters) * volume.cluster_size();
        if (claimed > most) break;
    }
    return claimed;
}

void visit_blocks(ntfs_volume& volume, const mft_entry& directory, std::uint64_t& most_bytes, const block_usage& usage,
                  const node_visitor& visit) {
    ntfs_stream allocation;
    if (!volume.has_clusters() || !collect_stream(directory, attribute_type::index_allocation, directory_index_name,
                                                  volume.cluster_size(), allocation)) {
        return;
    }
    if (allocation.resident || allocation.initialised_size == 0) return;
    const std::uint64_t claimed = claimed_bytes(volume, allocation.extents);
    if (claimed > most_bytes) {
        volume.log().line("err: directory indexes claim more than the volume holds");
        return;
    }
    most_bytes -= claimed;
    std::uint64_t lost = 0;
    const auto visit_chunk = [&](byte_view chunk) {
        byte_view block;
        for (std::size_t at = 0; chunk.sub(at, index_block::size, block); at += index_block::size) {
            if (block.value<std::uint32_t>(multi_sector_header::signature) == signature_indx) {
                visit(block.from(index_block::node), usage.in_use(chunk.image_offset() + at));
            }
        }
    };
    // Whatever the stream's sizes say: every block that has clusters.
    const std::uint64_t size = end_in_bytes(allocation.extents, volume.cluster_size());
    pull_extents(volume, allocation.extents, size, true, visit_chunk, lost);
    if (lost != 0) volume.log().line("err: part of a directory index cannot be read");
}

}  // namespace

void visit_index_nodes(ntfs_volume& volume, const mft_entry& directory, std::uint64_t& most_bytes, block_bits bits,
                       const node_visitor& visit) {
    const std::uint32_t block_size = visit_root(volume, directory, visit);
    const bool asked = bits == block_bits::asked && volume.has_clusters();
    visit_blocks(volume, directory, most_bytes, asked ? block_usage(volume, directory, block_size) : block_usage(),
                 visit);
}

std::uint64_t most_index_bytes(const ntfs_volume& volume) {
    constexpr std::uint64_t most_source_bytes = std::uint64_t{1} << 60U;
    const std::uint64_t size = volume.source_limit();
    return size > most_source_bytes ? most_source_bytes : size * 2;
}

bool get_children_nodes(ntfs_volume& volume, std::uint64_t directory, std::set<std::uint64_t>& children) {
    mft_entry entry;
    for (int step = 0; step < most_redirections; ++step) {
        if (!volume.load_entry(directory, entry)) return false;
        if (entry.base_reference == 0) {
            // A directory has no more files than the source has records; numbers of none are not worth keeping.
            const auto collect = [&](byte_view node, bool) {
                std::set<std::uint64_t> named;
                collect_index_node(node, named);
                for (const std::uint64_t number : named) {
                    if (number < volume.record_count() && children.size() < volume.records_in_source()) {
                        children.insert(number);
                    }
                }
            };
            visit_index_nodes(volume, entry, volume.index_bytes_left(), block_bits::not_asked, collect);
            return true;
        }
        directory = entry_number(entry.base_reference);
    }
    return false;
}
