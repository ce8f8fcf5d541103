// ntfs/volume_clusters.h: the clusters of one NTFS volume on its source: the geometry of its boot sector, where a
// cluster lies, and the bytes of streams. Over an exported $MFT there are none.
#pragma once

#include "base/diagnostic_log.h"
#include "ntfs/boot_sector.h"
#include "ntfs/data_runs.h"
#include "storage/salvage.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

class volume_clusters {
public:
    explicit volume_clusters(const diagnostic_log& log) : log_(log) {}

    // `volume_offset`: of the boot sector in the source, in bytes. Nothing is read but, where the system does not tell
    // the size of the source, places that show it.
    void open(disk_reader reader, std::uint64_t volume_offset);

    // Over an exported $MFT, with the geometry of a default volume.
    void open_without_clusters(disk_reader reader);

    // Reads the boot sector. False, and why stands in the log, when it is not that of an NTFS volume.
    [[nodiscard]] bool read_geometry();

    // All sizes in bytes.
    [[nodiscard]] const volume_geometry& geometry() const { return geometry_; }
    [[nodiscard]] std::uint32_t cluster_size() const { return geometry_.cluster_size; }
    [[nodiscard]] std::uint64_t volume_offset() const { return volume_offset_; }
    [[nodiscard]] bool readable() const { return readable_; }

    // Byte offset of a cluster in the source; empty when it does not fit 63 bits.
    [[nodiscard]] std::optional<std::uint64_t> cluster_offset(std::uint64_t lcn) const;

    // Bytes from `offset` of the volume on; `got` is less at the end of the source. False when nothing was read.
    [[nodiscard]] bool read_volume(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got);

    // Bytes of a stream from `position` on, holes as zeros. `losses`, counted from the first byte of `into`, are those
    // of places that cannot be read, cluster by cluster, and those that no extent holds. True when there are none.
    bool read_stream(const extent_list& extents, std::uint64_t position, std::span<std::uint8_t> into,
                     loss_list& losses);

    // The same up to the first loss, which is how many bytes are there.
    [[nodiscard]] std::size_t read_stream_beginning(const extent_list& extents, std::uint64_t position,
                                                    std::span<std::uint8_t> into);

    // Where the source ends at the latest, in bytes: what bounds the work, also where the system does not say.
    [[nodiscard]] std::uint64_t source_limit() const { return source_limit_; }

    // How many clusters of the volume lie in the source, by that limit.
    [[nodiscard]] std::uint64_t clusters_in_source() const;

    // Bytes of the source; reads behind them fail. 0 when the system does not say.
    [[nodiscard]] std::uint64_t source_size() const { return reader_.disk_size(); }

    // The reader itself, for passes that go over clusters and holes of the source in their own order.
    [[nodiscard]] disk_reader& reader() { return reader_; }
    [[nodiscard]] const disk_reader& reader() const { return reader_; }

    [[nodiscard]] const diagnostic_log& log() const { return log_; }

private:
    void read_parts(const extent_list& extents, std::uint64_t position, std::span<std::uint8_t> into,
                    const salvage_rule& rule, loss_list& losses);

    const diagnostic_log& log_;
    disk_reader reader_;
    std::uint64_t volume_offset_ = 0;
    std::uint64_t source_limit_ = 0;
    bool readable_ = false;
    volume_geometry geometry_;
};
