// A directory's index node and what its slack still tells, as a reader of children and one of entries takes them.
#include "fuzz_support.h"

#include "ntfs/directory_index.h"
#include "ntfs/directory_listing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const bytes node(data, data + size);
    std::set<std::uint64_t> children;
    collect_index_node(byte_view(node), children);
    directory_listing listing;
    for (const std::uint64_t entry : {40U, 41U, 42U}) listing.want(reference(entry, 1));
    for (const index_reading& reading : {index_reading{}, {.slack = true}, {.slack = true, .complete = true}}) {
        collect_index_entries(byte_view(node), reading.complete, reference(24, 1), reading, listing);
    }
    return 0;
}
