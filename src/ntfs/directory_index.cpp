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
std::uint32_t visit_root(std::uint32_t cluster_size, const mft_entry& directory, const node_visitor& visit) {
    ntfs_stream root;
    if (!collect_stream(directory, attribute_type::index_root, directory_index_name, cluster_size, root)) {
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
    block_usage(volume_clusters& clusters, const mft_entry& directory, std::uint32_t block_size)
        : block_size_(block_size) {
        constexpr std::uint64_t most_bytes = 1U << 24U;
        ntfs_stream bitmap;
        if (!collect_stream(directory, attribute_type::bitmap, directory_index_name, clusters.cluster_size(), bitmap)) {
            return;
        }
        if (bitmap.resident) {
            bits_.assign(bitmap.content.bytes().begin(), bitmap.content.bytes().end());
            return;
        }
        bits_.resize(static_cast<std::size_t>(
            std::min({bitmap.real_size, extent_bytes(bitmap.extents, clusters.cluster_size(), false), most_bytes})));
        bits_.resize(clusters.read_stream_beginning(bitmap.extents, 0, bits_));
    }

    // `offset`: bytes, of a block in the allocation.
    [[nodiscard]] bool in_use(std::uint64_t offset) const {
        const std::uint64_t block = offset / block_size_;
        if (block / 8 >= bits_.size()) return true;
        const unsigned eight = bits_[static_cast<std::size_t>(block / 8)];
        return (eight >> block % 8 & 1U) != 0;
    }

private:
    std::uint32_t block_size_ = index_block::size;
    std::vector<std::uint8_t> bits_;
};

// What the runs of an index claim of the source, each for itself: damaged ones overlap. None counts for more than the
// source, and what is more than `most` is not counted up.
std::uint64_t claimed_bytes(const volume_clusters& clusters, const extent_list& extents) {
    constexpr std::uint64_t most_source_bytes = std::uint64_t{1} << 59U;
    const std::uint64_t source = std::min(clusters.source_limit(), most_source_bytes);
    std::uint64_t claimed = 0;
    for (const extent& part : extents) {
        if (part.sparse) continue;
        claimed += std::min(part.length, source / clusters.cluster_size() + 1) * clusters.cluster_size();
        if (claimed > readings::listed_indexes * source) break;
    }
    return claimed;
}

void visit_blocks(volume_clusters& clusters, const mft_entry& directory, work_budget& budget, const block_usage& usage,
                  const node_visitor& visit) {
    ntfs_stream allocation;
    if (!clusters.readable() || !collect_stream(directory, attribute_type::index_allocation, directory_index_name,
                                                clusters.cluster_size(), allocation)) {
        return;
    }
    if (allocation.resident || allocation.initialised_size == 0) return;
    if (!budget.take(claimed_bytes(clusters, allocation.extents))) {
        clusters.log().line("err: directory indexes claim more than the volume holds");
        return;
    }
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
    const std::uint64_t size = end_in_bytes(allocation.extents, clusters.cluster_size());
    pull_extents(clusters, allocation.extents, size, true, visit_chunk, lost);
    if (lost != 0) clusters.log().line("err: part of a directory index cannot be read");
}

}  // namespace

void visit_index_nodes(volume_clusters& clusters, const mft_entry& directory, work_budget& budget, block_bits bits,
                       const node_visitor& visit) {
    const std::uint32_t block_size = visit_root(clusters.cluster_size(), directory, visit);
    const bool asked = bits == block_bits::asked && clusters.readable();
    visit_blocks(clusters, directory, budget, asked ? block_usage(clusters, directory, block_size) : block_usage(),
                 visit);
}

bool get_children_nodes(mft_reader& mft, std::uint64_t directory, work_budget& budget,
                        std::set<std::uint64_t>& children) {
    mft_entry entry;
    for (int step = 0; step < most_redirections; ++step) {
        if (!mft.load_entry(directory, entry)) return false;
        if (entry.base_reference == 0) {
            // A directory has no more files than the source has records; numbers of none are not worth keeping.
            const auto collect = [&](byte_view node, bool) {
                std::set<std::uint64_t> named;
                collect_index_node(node, named);
                for (const std::uint64_t number : named) {
                    if (number < mft.record_count() && children.size() < mft.records_in_source()) {
                        children.insert(number);
                    }
                }
            };
            visit_index_nodes(mft.clusters(), entry, budget, block_bits::not_asked, collect);
            return true;
        }
        directory = entry_number(entry.base_reference);
    }
    return false;
}
