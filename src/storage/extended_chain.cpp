#include "storage/partitions.h"

#include <array>
#include <optional>
#include <set>

namespace {

constexpr std::uint64_t first_track = 63;  // sectors

class chain_walk {
public:
    chain_walk(disk_reader& reader, std::uint64_t first, std::uint32_t sector_size, partition_list& list)
        : reader_(reader), first_(first), sector_size_(sector_size), list_(list) {}

    void follow() {
        read_first();
        guess_first_track();
        std::set<std::uint64_t> seen{first_};
        while (link_ && seen.size() < most_partitions && seen.insert(*link_).second) read_link(*link_);
    }

private:
    [[nodiscard]] bool read_record(std::uint64_t sector) {
        return read_sectors(reader_, sector, sector_size_, buffer_, record_);
    }

    // The entry `index`; false where the record's entries end.
    [[nodiscard]] bool next_entry(std::size_t index, boot_record_entry& entry) {
        if (!read_entry(record_, index, entry)) return false;
        last_type_ = entry.type;
        return entry.names_partition();
    }

    void add(std::uint64_t base, const boot_record_entry& entry) {
        list_.push_back({.start = base + entry.start,
                         .sector_count = entry.sector_count,
                         .sector_size = sector_size_,
                         .type = entry.type});
    }

    void read_first() {
        if (!read_record(first_)) return;
        boot_record_entry entry;
        for (std::size_t i = 0; i < boot_record::entry_count && next_entry(i, entry); ++i) {
            add(first_, entry);
            if (entry.is_extended()) {
                link_ = first_ + entry.start;
                return;
            }
        }
    }

    void guess_first_track() {
        if (!is_ntfs_at(reader_, first_track * sector_size_)) return;
        list_.push_back({.start = first_track,
                         .sector_count = first_ - first_track,
                         .sector_size = sector_size_,
                         .type = static_cast<std::uint16_t>(guessed_partition | last_type_)});
    }

    // Partitions count from their own record, links from the first one.
    void read_link(std::uint64_t sector) {
        link_.reset();
        if (!read_record(sector) || !has_boot_signature(record_)) return;
        std::optional<boot_record_entry> extended;
        boot_record_entry entry;
        for (std::size_t i = 0; i < boot_record::entry_count && next_entry(i, entry); ++i) {
            if (!entry.is_extended()) {
                add(sector, entry);
            } else if (!extended) {
                extended = entry;
            }
        }
        if (!extended) return;
        add(first_, *extended);
        link_ = first_ + extended->start;
    }

    disk_reader& reader_;
    std::uint64_t first_;
    std::uint32_t sector_size_;
    partition_list& list_;
    std::array<std::uint8_t, boot_record::size> buffer_{};
    byte_view record_;                   // what was read into buffer_
    std::optional<std::uint64_t> link_;  // the sector of the next record
    std::uint8_t last_type_ = 0;         // the last one seen, also when it ended a record's entries
};

}  // namespace

void follow_extended_chain(disk_reader& reader, std::uint64_t first, std::uint32_t sector_size, partition_list& list) {
    chain_walk(reader, first, sector_size, list).follow();
}
