#include "app/unlisted_volume.h"

#include "app/volume_opening.h"
#include "base/format_text.h"
#include "base/saturating.h"
#include "ntfs/boot_sector.h"
#include "ntfs/ntfs_volume.h"
#include "storage/partitions.h"

#include <array>
#include <optional>
#include <utility>

namespace {

// What a boot sector at `offset` says; none where there is no NTFS boot sector.
std::optional<volume_geometry> geometry_at(disk_reader& image, std::uint64_t offset) {
    std::array<std::uint8_t, boot_sector::size> sector{};
    std::size_t got = 0;
    volume_geometry geometry;
    std::string reason;
    if (!image.read_at(offset, sector, got)) return std::nullopt;
    if (!read_boot_sector(byte_view(std::span(sector).first(got)), geometry, reason)) return std::nullopt;
    return geometry;
}

bool holds_whole(const disk_reader& image, std::uint64_t offset, const volume_geometry& volume) {
    const std::uint64_t length = saturating_product(volume.total_sectors, volume.bytes_per_sector);
    return image.disk_size() >= saturating_sum(offset, length);
}

}  // namespace

std::unique_ptr<ntfs_volume> open_unlisted_volume(const journal_source& source, disk_reader image,
                                                  bool whole_volume_needed, std::string& messages,
                                                  const reading_settings& asked, const run_console& console) {
    const std::optional<volume_geometry> geometry = geometry_at(image, source.volume_offset);
    if (!geometry) return nullptr;
    if (whole_volume_needed && !holds_whole(image, source.volume_offset, *geometry)) {
        messages += not_wholly_held(source.volume_offset);
        return nullptr;
    }
    bool mft_damaged = false;
    auto volume = open_volume(source, std::move(image), asked, console, mft_damaged);
    if (volume == nullptr) {
        if (mft_damaged) messages += damaged_mft_message;
        return nullptr;
    }
    messages = format_text("volume offset 0x%llx is not listed as a NTFS partition, but a NTFS volume begins there\n",
                           static_cast<unsigned long long>(source.volume_offset));
    return volume;
}
