// ntfs/ntfs_volume.h: one NTFS volume, read by itself: geometry, MFT records by entry number, clusters. Made over an
// image, a live volume, a device path or an exported $MFT; lives from the choice of the source to the end of the pull.
// Says why something failed in the diagnostic log and nowhere else.
#pragma once

#include "base/diagnostic_log.h"
#include "ntfs/boot_sector.h"
#include "ntfs/data_runs.h"
#include "ntfs/directory_cache.h"
#include "ntfs/fixup.h"
#include "ntfs/mft_entry.h"
#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Where on the volume a record of a rebuilt MFT was found.
struct record_place {
    std::uint64_t entry = 0;
    std::uint64_t offset = 0;  // bytes from the volume's start
};

enum class record_state : std::uint8_t {
    good,
    marked_bad,
    no_record,
    unreadable
};  // no_record: bytes of something else

class ntfs_volume {
public:
    explicit ntfs_volume(const diagnostic_log& log) : log_(log) {}

    // Before anything is opened: the usual ones without it.
    void take_records(record_sizes sizes) { record_sizes_ = sizes; }
    [[nodiscard]] record_sizes taken_records() const { return record_sizes_; }

    // Over a source; `volume_offset` is the byte offset of the boot sector in it. False when the reader does not open.
    [[nodiscard]] bool open_volume(const std::string& path, reader_mode mode, std::uint64_t volume_offset);
    void open_volume(disk_reader reader, std::uint64_t volume_offset);

    // Over an exported $MFT: records can be read, clusters cannot. Mounted when true.
    [[nodiscard]] bool open_mft_file(const std::string& path);
    [[nodiscard]] bool open_mft_file(disk_reader reader);

    // Serves every record from where `places`, in order of entry, say that it lies; $MFT itself is not asked. What is
    // kept in memory are the places: of the records there are too many. Mounted when true; false for no more than 4096
    // bytes of records.
    [[nodiscard]] bool use_memory_mft(std::vector<record_place> places);

    // Reads boot sector and record 0, with the extension records of $MFT. True at once when it was mounted before.
    [[nodiscard]] bool mount();
    [[nodiscard]] bool mounted() const { return mounted_; }

    // Reads the boot sector alone, which is enough to read clusters.
    [[nodiscard]] bool read_geometry();

    // Why the volume did not mount: its boot sector is in order, the record that describes $MFT is not.
    [[nodiscard]] bool mft_damaged() const { return mft_damaged_; }

    // All sizes in bytes. Of an exported $MFT: the geometry of a default volume.
    [[nodiscard]] const volume_geometry& geometry() const { return geometry_; }
    [[nodiscard]] std::uint32_t cluster_size() const { return geometry_.cluster_size; }
    [[nodiscard]] std::uint32_t record_size() const { return record_size_; }
    [[nodiscard]] std::uint64_t record_count() const { return record_count_; }
    [[nodiscard]] std::uint64_t volume_offset() const { return volume_offset_; }
    [[nodiscard]] bool has_clusters() const { return clusters_readable_; }

    // Byte offset of a record within the volume; empty when it lies behind the runs of $MFT, in a hole, or there are no
    // clusters.
    [[nodiscard]] std::optional<std::uint64_t> record_offset(std::uint64_t entry_number) const;

    // One record, update sequence applied. `record` is sized here and unspecified unless the result is good.
    [[nodiscard]] record_state read_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record);

    // The same without a copy where records are read one behind the other. `record` holds until the next one is read.
    [[nodiscard]] record_state view_record(std::uint64_t entry_number, byte_view& record);

    // A record and the extension records that its attribute list names. False when the base record cannot be read;
    // pieces whose record cannot be read are missing.
    [[nodiscard]] bool load_entry(std::uint64_t entry_number, mft_entry& entry);

    // Bytes from `offset` of the volume on; `got` is less at the end of the source. False when nothing was read.
    [[nodiscard]] bool read_volume(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got);

    // The next stretch of the volume at or behind `offset` that is no hole of its source.
    [[nodiscard]] bool next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const;

    // Byte offset of a cluster in what the reader reads; empty when it does not fit 63 bits.
    [[nodiscard]] std::optional<std::uint64_t> cluster_offset(std::uint64_t lcn) const;

    // The clusters from `lcn` on that fill `into`. `got` is less at the end of the source. False when nothing was read.
    [[nodiscard]] bool read_clusters(std::uint64_t lcn, std::span<std::uint8_t> into, std::size_t& got);

    // Bytes of a stream from `position` on, holes as zeros. `got` ends at the first place that no extent holds or that
    // cannot be read. False when it is 0.
    [[nodiscard]] bool read_stream_range(const extent_list& extents, std::uint64_t position,
                                         std::span<std::uint8_t> into, std::size_t& got);

    // Where the source ends at the latest, in bytes: what bounds the work, also where the system does not say.
    [[nodiscard]] std::uint64_t source_limit() const { return source_limit_; }

    // How many clusters of the volume lie in the source, by that limit.
    [[nodiscard]] std::uint64_t clusters_in_source() const;

    // How many records the source has room for, of which no two share a byte.
    [[nodiscard]] std::uint64_t records_in_source() const;

    // Bytes of the source; reads behind them fail. 0 when the system does not say.
    [[nodiscard]] std::uint64_t source_size() const { return reader_.disk_size(); }

    // The reader itself, for passes that go over clusters and holes of the source in their own order.
    [[nodiscard]] disk_reader& reader() { return reader_; }

    [[nodiscard]] const diagnostic_log& log() const { return log_; }
    [[nodiscard]] directory_cache& directories() { return directories_; }

    // Bytes of index blocks that path look-ups may still read.
    [[nodiscard]] std::uint64_t& index_bytes_left() { return index_bytes_left_; }

private:
    [[nodiscard]] bool mount_source();
    [[nodiscard]] bool read_first_record();
    [[nodiscard]] bool fetch_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record);
    [[nodiscard]] bool fetch_remembered(std::uint64_t entry_number, std::vector<std::uint8_t>& record);
    [[nodiscard]] std::span<std::uint8_t> window_at(std::uint64_t position, std::size_t length);
    [[nodiscard]] std::uint64_t record_position(std::uint64_t entry_number) const;
    [[nodiscard]] record_state restore(std::span<std::uint8_t> record) const;
    [[nodiscard]] bool read_mft(std::uint64_t position, std::span<std::uint8_t> into, std::size_t& got);
    [[nodiscard]] std::size_t read_as_far_as_possible(std::uint64_t at, std::span<std::uint8_t> into);
    void add_listed_attributes(mft_entry& entry);
    [[nodiscard]] byte_view load_extension_record(std::uint64_t entry_number, mft_entry& entry);
    [[nodiscard]] bool charge_extension(std::uint64_t bytes);
    [[nodiscard]] std::vector<std::uint8_t> attribute_list_bytes(const attribute& list, std::size_t most);
    void learn_mft_extents(const attribute& piece);

    const diagnostic_log& log_;
    disk_reader reader_;
    std::uint64_t volume_offset_ = 0;
    std::uint64_t source_limit_ = 0;
    bool clusters_readable_ = false;
    bool mounted_ = false;
    bool mft_damaged_ = false;
    volume_geometry geometry_;
    record_sizes record_sizes_ = record_sizes::usual;
    std::uint32_t record_size_ = 0;    // of record 0
    std::uint32_t record_stride_ = 0;  // from one record to the next
    std::uint64_t record_count_ = 0;
    extent_list mft_extents_;
    int misplaced_mft_pieces_ = 0;
    std::uint64_t extension_bytes_left_ =
        0;  // of attribute lists and the records that they name, that may be gone over
    std::uint64_t index_bytes_left_ = 0;
    std::vector<record_place> memory_mft_;  // not empty: these are the records

    // A stretch of $MFT as it lies, read ahead while records are asked for one behind the other.
    std::vector<std::uint8_t> window_;
    std::uint64_t window_begin_ = 0;  // byte of $MFT
    std::uint64_t last_position_ = 0;
    std::vector<std::uint8_t> viewed_;  // a record that was not read ahead

    directory_cache directories_;
};
