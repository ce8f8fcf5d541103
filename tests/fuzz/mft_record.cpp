// MFT records with their attributes, attribute lists that name one another, and runs: entries loaded, streams pulled.
#include "fuzz_support.h"

#include "ntfs/directory_index.h"
#include "ntfs/directory_path.h"
#include "ntfs/stream_pull.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ntfs_image_builder made =
        ntfs_image_builder{.cluster_size = 512, .clusters = 256, .mft_clusters = 16}.build();
    constexpr std::uint64_t records = 8;
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint8_t>();
    bytes image = made.image;
    const std::size_t first = made.offset_of_record(kind % 2 == 0 ? 1 : 0);  // with $MFT itself, or without
    std::ranges::copy(in.take(made.offset_of_record(records) - first), image.data() + first);
    settle_sequences(std::span(image).subspan(made.offset_of_record(0), records * made.record_size));
    ntfs_volume volume(fuzz_log());
    volume.open_volume(reader_over(std::move(image)), 0);
    if (!volume.mount()) return 0;
    directory_path_cache paths(volume.mft());
    work_budget index_bytes(readings::looked_up_indexes, volume.source_limit());
    for (std::uint64_t number = 0; number < records; ++number) {
        mft_entry entry;
        if (!volume.load_entry(number, entry)) continue;
        ntfs_stream stream;
        std::uint64_t lost = 0;
        for (const attribute& one : entry.attributes) {
            if (!collect_stream(entry, one.type, one.name, volume.cluster_size(), stream)) continue;
            (void)pull_stream(
                volume.clusters(), stream, [](byte_view) {}, lost);
        }
        std::set<std::uint64_t> children;
        (void)get_children_nodes(volume.mft(), number, index_bytes, children);
        directory_path path;
        std::u16string text;
        if (paths.build_directory_path(file_reference(number, entry.sequence), path)) paths.compose(path, text);
    }
    (void)volume.paths().find(u"\\a\\b:c", link_mode::follow);
    return 0;
}
