// ntfs/mft_reader.h: MFT records by entry number: through the runs of $MFT on a mounted volume, from an exported $MFT,
// or from wherever a scan found them.
#pragma once

#include "base/work_budget.h"
#include "ntfs/fixup.h"
#include "ntfs/mft_entry.h"
#include "ntfs/volume_clusters.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
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

class mft_reader {
public:
    explicit mft_reader(volume_clusters& clusters) : clusters_(clusters) {}
    mft_reader(const mft_reader&) = delete;
    mft_reader& operator=(const mft_reader&) = delete;

    // The usual sizes without it.
    void take_records(record_sizes sizes) { sizes_ = sizes; }
    [[nodiscard]] record_sizes taken_records() const { return sizes_; }

    // Forgets what it knows: the clusters are those of another source.
    void close();

    // Reads record 0, with the extension records of $MFT, where the geometry says that it lies.
    [[nodiscard]] bool mount();

    // The source is an exported $MFT.
    [[nodiscard]] bool mount_export();

    // Serves every record from where `places`, in order of entry, say that it lies; $MFT itself is not asked. What is
    // kept in memory are the places: of the records there are too many. False for no more than 4096 bytes of records.
    [[nodiscard]] bool mount_places(std::vector<record_place> places);

    [[nodiscard]] bool mounted() const { return mounted_; }

    // Whether the records come from wherever a scan found them.
    [[nodiscard]] bool rebuilt() const { return !places_.empty(); }

    // Why it did not mount: the record that describes $MFT is not in order.
    [[nodiscard]] bool damaged() const { return damaged_; }

    [[nodiscard]] std::uint32_t record_size() const { return record_size_; }  // bytes
    [[nodiscard]] std::uint64_t record_count() const { return record_count_; }

    // How many records the source has room for, of which no two share a byte.
    [[nodiscard]] std::uint64_t records_in_source() const { return clusters_.source_limit() / record_stride_; }

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

    [[nodiscard]] volume_clusters& clusters() { return clusters_; }
    [[nodiscard]] const volume_clusters& clusters() const { return clusters_; }
    [[nodiscard]] const diagnostic_log& log() const { return clusters_.log(); }

private:
    [[nodiscard]] bool read_first_record();
    [[nodiscard]] bool fetch_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record);
    [[nodiscard]] std::span<std::uint8_t> window_at(std::uint64_t position, std::size_t length);
    [[nodiscard]] std::uint64_t record_position(std::uint64_t entry_number) const;
    [[nodiscard]] record_state restore(std::span<std::uint8_t> record) const;
    [[nodiscard]] std::size_t read_mft(std::uint64_t position, std::span<std::uint8_t> into);
    void add_listed_attributes(mft_entry& entry);
    [[nodiscard]] byte_view load_extension_record(std::uint64_t entry_number, mft_entry& entry);
    [[nodiscard]] std::vector<std::uint8_t> attribute_list_bytes(const attribute& list, std::size_t most);
    void learn_extents(const attribute& piece);

    volume_clusters& clusters_;
    record_sizes sizes_ = record_sizes::usual;
    bool mounted_ = false;
    bool damaged_ = false;
    std::uint32_t record_size_ = 0;    // of record 0
    std::uint32_t record_stride_ = 0;  // from one record to the next
    std::uint64_t record_count_ = 0;
    extent_list extents_;  // of $MFT
    int misplaced_pieces_ = 0;
    work_budget extension_bytes_;       // of attribute lists and of the records that they name
    std::vector<record_place> places_;  // not empty: these are the records

    // A stretch of $MFT as it lies, read ahead while records are asked for one behind the other.
    std::vector<std::uint8_t> window_;
    std::uint64_t window_begin_ = 0;  // byte of $MFT
    std::uint64_t last_position_ = 0;
    std::vector<std::uint8_t> viewed_;  // a record that was not read ahead
};
