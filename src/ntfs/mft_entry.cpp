#include "ntfs/mft_entry.h"

#include "base/saturating.h"

namespace {

constexpr std::uint64_t extents_between_limits = 0x10000;

}  // namespace

bool collect_stream(const mft_entry& entry, std::uint32_t type, std::u16string_view name, std::uint32_t cluster_size,
                    ntfs_stream& stream) {
    ntfs_stream found;
    found.type = type;
    found.name = name;
    bool any = false;
    bool has_beginning = false;
    for (const attribute& piece : entry.attributes) {
        if (piece.type != type || piece.name != name) continue;
        if (piece.resident) {
            if (any) continue;  // a resident stream has one piece
            found.resident = true;
            found.content = piece.value;
            stream = std::move(found);
            return true;
        }
        any = true;
        make_extents(decode_runs(piece.run_list, piece.first_vcn), found.extents);
        // Sound runs are no more than the clusters and the holes between them: memory is bounded by the source too.
        if (found.extents.size() / 4 > entry.source_clusters + extents_between_limits) {
            put_in_vcn_order(found.extents);
            limit_claims(found.extents, entry.source_clusters);
        }
        if (piece.first_vcn != 0 || has_beginning) continue;
        has_beginning = true;
        found.real_size = piece.real_size;
        found.initialised_size = piece.initialised_size;
        found.compressed = (piece.flags & 1U) != 0;
    }
    if (!any) return false;
    put_in_vcn_order(found.extents);
    limit_claims(found.extents, entry.source_clusters);
    if (!has_beginning) found.real_size = found.initialised_size = end_in_bytes(found.extents, cluster_size);
    stream = std::move(found);
    return true;
}

std::uint64_t extent_bytes(std::span<const extent> extents, std::uint32_t cluster_size, bool skip_sparse) {
    std::uint64_t clusters = 0;
    for (const extent& part : extents) {
        if (!(skip_sparse && part.sparse)) clusters += part.length;  // they do not overlap, so the sum cannot wrap
    }
    return saturating_product(clusters, cluster_size);
}

std::uint64_t end_in_bytes(std::span<const extent> extents, std::uint32_t cluster_size) {
    return saturating_product(end_of(extents), cluster_size);
}
