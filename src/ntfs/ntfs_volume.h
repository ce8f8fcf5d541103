// ntfs/ntfs_volume.h: one NTFS volume, read by itself: its clusters, its MFT, the paths on it. Made over an image, a
// live volume, a device path or an exported $MFT; lives from the choice of the source to the end of the pull. Says why
// something failed in the diagnostic log and nowhere else.
#pragma once

#include "ntfs/mft_reader.h"
#include "ntfs/path_lookup.h"

#include <string>

class ntfs_volume {
public:
    explicit ntfs_volume(const diagnostic_log& log) : clusters_(log) {}

    // Before anything is opened: the usual ones without it.
    void take_records(record_sizes sizes) { mft_.take_records(sizes); }

    // Over a source; `volume_offset` is the byte offset of the boot sector in it. False when the reader does not open.
    [[nodiscard]] bool open_volume(const std::string& path, reader_mode mode, std::uint64_t volume_offset);
    void open_volume(disk_reader reader, std::uint64_t volume_offset);

    // Over an exported $MFT: records can be read, clusters cannot. Mounted when true.
    [[nodiscard]] bool open_mft_file(const std::string& path);
    [[nodiscard]] bool open_mft_file(disk_reader reader);

    // Reads boot sector and record 0, with the extension records of $MFT. True at once when it was mounted before.
    [[nodiscard]] bool mount();

    // Why the volume did not mount: its boot sector is in order, the record that describes $MFT is not.
    [[nodiscard]] bool mft_damaged() const { return mft_.damaged(); }

    [[nodiscard]] volume_clusters& clusters() { return clusters_; }
    [[nodiscard]] const volume_clusters& clusters() const { return clusters_; }
    [[nodiscard]] mft_reader& mft() { return mft_; }
    [[nodiscard]] path_lookup& paths() { return paths_; }
    [[nodiscard]] const diagnostic_log& log() const { return clusters_.log(); }

    // What the passes ask most often, of the clusters and of the MFT.
    [[nodiscard]] const volume_geometry& geometry() const { return clusters_.geometry(); }
    [[nodiscard]] std::uint32_t cluster_size() const { return clusters_.cluster_size(); }
    [[nodiscard]] std::uint64_t volume_offset() const { return clusters_.volume_offset(); }
    [[nodiscard]] std::optional<std::uint64_t> cluster_offset(std::uint64_t lcn) const {
        return clusters_.cluster_offset(lcn);
    }
    [[nodiscard]] std::uint64_t clusters_in_source() const { return clusters_.clusters_in_source(); }
    [[nodiscard]] std::uint64_t source_limit() const { return clusters_.source_limit(); }
    [[nodiscard]] disk_reader& reader() { return clusters_.reader(); }
    [[nodiscard]] std::uint32_t record_size() const { return mft_.record_size(); }
    [[nodiscard]] std::optional<std::uint64_t> record_offset(std::uint64_t entry_number) const {
        return mft_.record_offset(entry_number);
    }
    [[nodiscard]] record_state read_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
        return mft_.read_record(entry_number, record);
    }
    [[nodiscard]] bool load_entry(std::uint64_t entry_number, mft_entry& entry) {
        return mft_.load_entry(entry_number, entry);
    }

private:
    volume_clusters clusters_;
    mft_reader mft_{clusters_};
    path_lookup paths_{mft_};
};
