#include "journal/carving.h"

#include <limits>

std::uint64_t entry_number_bound(ntfs_volume& volume) {
    constexpr std::uint32_t usual_record_size = 1024;
    const std::uint32_t record_size = volume.record_size() == 0 ? usual_record_size : volume.record_size();
    mft_entry mft;
    ntfs_stream data;
    if (!volume.load_entry(mft_entry_number, mft)) return std::numeric_limits<std::uint64_t>::max() / record_size;
    if (!collect_stream(mft, attribute_type::data, u"", volume.cluster_size(), data)) return 0;
    return (data.resident ? data.content.size() : extent_bytes(data.extents, volume.cluster_size(), false)) /
           record_size;
}
