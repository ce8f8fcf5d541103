#include "journal/journal_limits.h"

#include "journal/volume_journal.h"
#include "ntfs/ntfs_volume.h"

#include <array>

namespace {

namespace max_stream {
constexpr std::size_t maximum_size = 0x00;      // u64
constexpr std::size_t allocation_delta = 0x08;  // u64
constexpr std::size_t identifier = 0x10;        // u64
constexpr std::size_t lowest_valid_usn = 0x18;  // i64
constexpr std::size_t size = 0x20;
}  // namespace max_stream

}  // namespace

std::optional<journal_limits> limits_of_journal(ntfs_volume& volume) {
    mft_entry entry;
    const std::optional<std::uint64_t> number = volume.paths().find(journal_path, link_mode::stay);
    ntfs_stream stream;
    if (!number || !volume.load_entry(*number, entry) ||
        !collect_stream(entry, attribute_type::data, u"$Max", volume.cluster_size(), stream)) {
        return std::nullopt;
    }
    std::array<std::uint8_t, max_stream::size> bytes{};
    const std::size_t got = stream.resident ? 0 : volume.clusters().read_stream_beginning(stream.extents, 0, bytes);
    const byte_view content =
        stream.resident ? stream.content : byte_view(std::span<const std::uint8_t>(bytes).first(got));
    if (!content.fits(0, max_stream::size)) return std::nullopt;
    return journal_limits{content.value<std::uint64_t>(max_stream::maximum_size),
                          content.value<std::uint64_t>(max_stream::allocation_delta),
                          content.value<std::uint64_t>(max_stream::identifier),
                          static_cast<std::int64_t>(content.value<std::uint64_t>(max_stream::lowest_valid_usn))};
}
