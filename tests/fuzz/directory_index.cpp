// A directory's index node and its slack: as a bare node, as the root of a directory, as a block of its allocation.
#include "fuzz_support.h"

#include "ntfs/directory_index.h"
#include "ntfs/directory_listing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint64_t home = 24;
    static const ntfs_image_builder made = ntfs_image_builder{.clusters = 32}.build();
    fuzz_input in(data, size);
    const bytes node = in.rest();
    std::set<std::uint64_t> children;
    collect_index_node(byte_view(node), children);
    directory_listing listing;
    listing.want(reference(40, 1));
    listing.want(reference(41, 1));
    collect_index_entries(byte_view(node), reference(home, 0), true, listing);

    ntfs_image_builder disk = made;
    made_attribute root = index_root({});
    root.value.insert(root.value.begin() + index_root_value::node, node.begin(),
                      node.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(node.size(), 600)));
    disk.put(home,
             {.attributes = {root, {.type = 0xA0, .name = u"$I30", .runs = run_list({{20, 2}}), .real_size = 8192}},
              .flags = mft_record::flag_in_use | mft_record::flag_directory});
    poke<std::uint32_t>(disk.image, 20 * 4096, signature_indx);
    std::ranges::copy(std::span(node).first(std::min<std::size_t>(node.size(), 8192 - index_block::node)),
                      disk.image.data() + 20 * 4096 + index_block::node);
    ntfs_volume volume(fuzz_log());
    volume.open_volume(reader_over(std::move(disk.image)), 0);
    if (!volume.mount()) return 0;
    (void)get_children_nodes(volume, home, children);
    mft_entries_ctx context(volume, true);
    std::uint64_t parent = reference(home, 0);
    listed_parent found;
    (void)list_parent_directory(context, parent, listing, found);
    return 0;
}
