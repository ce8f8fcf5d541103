#include "storage/partitions.h"

#include "base/crc32.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

namespace gpt_header {
constexpr std::size_t size = 92;  // the least
constexpr std::string_view signature = "EFI PART";
constexpr std::size_t own_size = 0x0C;     // u32, the part that the checksum covers
constexpr std::size_t checksum = 0x10;     // u32, of that part with zeros here
constexpr std::size_t own_sector = 0x18;   // u64
constexpr std::size_t first_entry = 0x48;  // u64, sector
constexpr std::size_t entry_count = 0x50;  // u32
constexpr std::size_t entry_size = 0x54;   // u32
}  // namespace gpt_header

namespace gpt_entry {
constexpr std::size_t guid_size = 16;     // of the type, which comes first; zeros for an unused entry
constexpr std::size_t first_sector = 32;  // u64
constexpr std::size_t last_sector = 40;   // u64
constexpr std::size_t size = 128;         // the part that is defined
}  // namespace gpt_entry

// Disks with sectors of 4096 bytes keep the signature of the protective record at byte 510 all the same.
constexpr std::uint32_t large_sector = 4096;
constexpr std::uint16_t whole_gpt = 0xEE;
constexpr std::uint64_t guessed_from = 2048;  // bytes, as far as the guess looks

class gpt_walk {
public:
    gpt_walk(disk_reader& reader, partition_list& list) : reader_(reader), list_(list) {}

    [[nodiscard]] bool find_header(std::uint32_t sector_size) {
        return read_header(sector_size) || (sector_size != large_sector && read_header(large_sector));
    }

    // The first header is believed as it stands; the backup has to prove that it is one.
    [[nodiscard]] bool find_backup(std::uint32_t sector_size) {
        from_backup_ = read_backup(sector_size) || (sector_size != large_sector && read_backup(large_sector));
        return from_backup_;
    }

    void read_entries() {
        std::uint64_t array = 0;
        if (entry_size_ < gpt_entry::size || !sector_offset(first_entry_, sector_size_, array)) return;
        std::array<std::uint8_t, gpt_entry::size> buffer{};
        byte_view entry;
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(entry_count_, most_partitions); ++i) {
            const std::uint64_t offset = array + i * entry_size_;  // at most 2^63 + 2^48
            if (!read_sectors(reader_, offset, 1, buffer, entry) || entry.size() < gpt_entry::size) return;
            const auto guid = entry.bytes().first(gpt_entry::guid_size);
            const bool unused = std::ranges::all_of(guid, [](std::uint8_t byte) { return byte == 0; });
            if (!unused && !add(entry)) return;
        }
    }

private:
    [[nodiscard]] bool read_header(std::uint32_t sector_size) {
        std::array<std::uint8_t, gpt_header::size> buffer{};
        byte_view header;
        if (!read_sectors(reader_, 1, sector_size, buffer, header)) return false;
        if (header.value<std::uint64_t>(gpt_header::own_sector) != 1) return false;
        take_over(header, sector_size);
        return true;
    }

    [[nodiscard]] bool read_backup(std::uint32_t sector_size) {
        const std::uint64_t sectors = reader_.disk_size() / sector_size;
        std::vector<std::uint8_t> buffer(sector_size);
        byte_view sector;
        byte_view header;
        if (sectors == 0 || !read_sectors(reader_, sectors - 1, sector_size, buffer, sector)) return false;
        const auto own_size = sector.value<std::uint32_t>(gpt_header::own_size);
        if (own_size < gpt_header::size || !sector.sub(0, own_size, header)) return false;
        if (!holds_text(header, 0, gpt_header::signature)) return false;
        if (header.value<std::uint64_t>(gpt_header::own_sector) != sectors - 1) return false;
        const auto checksum = header.value<std::uint32_t>(gpt_header::checksum);
        std::fill_n(buffer.begin() + gpt_header::checksum, sizeof checksum, std::uint8_t{0});
        if (crc32(header.bytes()) != checksum) return false;
        take_over(header, sector_size);
        return true;
    }

    void take_over(byte_view header, std::uint32_t sector_size) {
        sector_size_ = sector_size;
        first_entry_ = header.value<std::uint64_t>(gpt_header::first_entry);
        entry_count_ = header.value<std::uint32_t>(gpt_header::entry_count);
        entry_size_ = header.value<std::uint32_t>(gpt_header::entry_size);
    }

    [[nodiscard]] bool add(byte_view entry) {
        partition found{.start = entry.value<std::uint64_t>(gpt_entry::first_sector), .sector_size = sector_size_};
        found.from_backup = from_backup_;
        found.sector_count = entry.value<std::uint64_t>(gpt_entry::last_sector) - found.start + 1;
        const bool is_small = found.sector_count <= guessed_from / sector_size_;
        std::vector<std::uint8_t> buffer(is_small ? sector_size_ : guessed_from);
        byte_view first;
        if (!read_sectors(reader_, found.start, sector_size_, buffer, first)) return false;
        if (first.size() >= 512) {
            found.type = whole_gpt;
            guess_file_system(found, first);
        }
        list_.push_back(found);
        return true;
    }

    disk_reader& reader_;
    partition_list& list_;
    std::uint32_t sector_size_ = 0;
    std::uint64_t first_entry_ = 0;
    std::uint32_t entry_count_ = 0;
    std::uint32_t entry_size_ = 0;
    bool from_backup_ = false;
};

}  // namespace

void read_gpt(disk_reader& reader, std::uint32_t sector_size, partition_list& list) {
    gpt_walk walk(reader, list);
    if (walk.find_header(sector_size) || walk.find_backup(sector_size)) walk.read_entries();
}
