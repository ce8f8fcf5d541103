#include "ntfs/volume_clusters.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

// What an exported $MFT is taken to come from.
constexpr volume_geometry default_geometry{.bytes_per_sector = 512, .cluster_size = 4096, .record_size = 1024};

// Of a source that does not tell its size: the first power of two at which nothing can be read, nor a little behind it,
// where there may be a bad sector.
std::uint64_t probed_limit(disk_reader& reader) {
    constexpr std::uint64_t least = std::uint64_t{1} << 20U;
    constexpr std::uint64_t most = std::uint64_t{1} << 62U;
    std::array<std::uint8_t, 1> byte{};
    std::size_t got = 0;
    std::uint64_t limit = least;
    while (limit < most && (reader.read_at(limit, byte, got) || reader.read_at(limit + least / 2, byte, got)))
        limit *= 2;
    return limit;
}

}  // namespace

void volume_clusters::open(disk_reader reader, std::uint64_t volume_offset) {
    reader_ = std::move(reader);
    volume_offset_ = volume_offset;
    readable_ = true;
    source_limit_ = source_size() == 0 ? probed_limit(reader_) : source_size();
}

void volume_clusters::open_without_clusters(disk_reader reader) {
    open(std::move(reader), 0);
    readable_ = false;
    geometry_ = default_geometry;
}

bool volume_clusters::read_geometry() {
    std::vector<std::uint8_t> sector(boot_sector::size);
    std::size_t got = 0;
    std::string reason = "boot sector cannot be read";
    if (reader_.read_at(volume_offset_, sector, got) && got == sector.size() &&
        read_boot_sector(byte_view(sector), geometry_, reason)) {
        return true;
    }
    log_.line("err: mount: " + reason);
    return false;
}

std::uint64_t volume_clusters::clusters_in_source() const {
    return source_limit_ <= volume_offset_ ? 0 : (source_limit_ - volume_offset_ - 1) / cluster_size() + 1;
}

std::optional<std::uint64_t> volume_clusters::cluster_offset(std::uint64_t lcn) const {
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (volume_offset_ > highest || lcn > (highest - volume_offset_) / cluster_size()) return std::nullopt;
    return lcn * cluster_size() + volume_offset_;
}

bool volume_clusters::read_volume(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) {
    got = 0;
    return readable_ && offset <= ~volume_offset_ && reader_.read_at(volume_offset_ + offset, into, got);
}

bool volume_clusters::read_stream(const extent_list& extents, std::uint64_t position, std::span<std::uint8_t> into,
                                  loss_list& losses) {
    losses.clear();
    read_parts(extents, position, into, {.unit = cluster_size()}, losses);
    return losses.empty();
}

std::size_t volume_clusters::read_stream_beginning(const extent_list& extents, std::uint64_t position,
                                                   std::span<std::uint8_t> into) {
    loss_list losses;
    read_parts(extents, position, into, {.unit = cluster_size(), .stop_at_loss = true}, losses);
    return losses.empty() ? into.size() : losses.front().begin;
}

void volume_clusters::read_parts(const extent_list& extents, std::uint64_t position, std::span<std::uint8_t> into,
                                 const salvage_rule& rule, loss_list& losses) {
    for (std::size_t done = 0; done < into.size() && !(rule.stop_at_loss && !losses.empty());) {
        const std::uint64_t vcn = (position + done) / cluster_size();
        const std::uint64_t into_cluster = (position + done) % cluster_size();
        const std::uint64_t wanted = into.size() - done;
        const auto up_to = [&](std::uint64_t behind) {
            const std::uint64_t clusters = std::min(behind - vcn, wanted / cluster_size() + 2);
            return static_cast<std::size_t>(std::min(clusters * cluster_size() - into_cluster, wanted));
        };
        const std::size_t index = extent_at_or_behind(extents, vcn);
        const bool held = index != extents.size() && extents[index].vcn <= vcn;
        const std::uint64_t behind = held                      ? extents[index].end_vcn()
                                     : index == extents.size() ? ~std::uint64_t{0}
                                                               : extents[index].vcn;
        const auto target = into.subspan(done, up_to(behind));
        const auto at = held ? cluster_offset(extents[index].lcn + (vcn - extents[index].vcn)) : std::nullopt;
        const std::size_t before = losses.size();
        if (held && extents[index].sparse) {
            std::ranges::fill(target, std::uint8_t{0});
        } else if (!at || !readable_) {
            losses.push_back({0, target.size()});
        } else {
            (void)read_around_damage(reader_, *at + into_cluster, target, rule, losses);
        }
        for (loss& one : std::span(losses).subspan(before)) {
            one.begin += done;
            one.end += done;
        }
        done += target.size();
    }
}
