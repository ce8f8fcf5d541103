#include "ntfs/index_node.h"

#include "base/file_reference.h"

namespace {

// kept: path look-ups walk an index by other limits than the listing of a directory (directory_listing.cpp). Here an
// entry may be as long as its node, one that follows another 768 bytes; there every entry at most 512.
constexpr std::uint16_t longest_next_entry = 768;

}  // namespace

void collect_index_node(byte_view node, std::set<std::uint64_t>& children) {
    const auto total = node.value<std::uint32_t>(index_node_header::total_size);
    if (total == 0 || total > index_node_header::largest_total) return;
    byte_view entry = node.from(node.value<std::uint32_t>(index_node_header::first_entry));
    std::uint32_t remaining = total;
    while (entry.fits(0, index_entry::key)) {
        const auto length = entry.value<std::uint16_t>(index_entry::length);
        const auto key_length = entry.value<std::uint16_t>(index_entry::key_length);
        if (length > total || key_length > total || key_length > length) return;
        const auto reference = entry.value<std::uint64_t>(index_entry::reference);
        const auto flags = entry.value<std::uint16_t>(index_entry::flags);
        if (reference == 0 || flags == index_entry::flag_last || flags == index_entry::flag_last + 1) return;
        children.insert(entry_number(reference));
        if (length >= remaining) return;
        remaining -= length;
        entry = entry.from(length);
        const auto next_length = entry.value<std::uint16_t>(index_entry::length);
        if (next_length == 0 || next_length > longest_next_entry) return;
    }
}
