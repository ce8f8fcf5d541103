#include "ntfs/mft_rebuild.h"

#include "base/file_reference.h"
#include "base/format_text.h"
#include "base/utf.h"
#include "ntfs/file_name.h"
#include "ntfs/fixup.h"

#include <algorithm>
#include <map>
#include <span>
#include <utility>

namespace {

using ull = unsigned long long;

constexpr std::uint64_t piece_size = std::uint64_t{1} << 20U;  // of one read, in bytes
constexpr std::uint64_t records_per_retry = 16;                // after one that failed
constexpr std::size_t header_with_own_number = 48;

struct stored_record {
    std::uint64_t offset = 0;
    std::uint32_t slot = 0;
    std::uint16_t sequence = 0;
    bool in_use = false;
    bool directory = false;
};

using record_store = std::map<std::uint32_t, stored_record>;  // by entry number

class volume_scan {
public:
    volume_scan(ntfs_volume& volume, progress& shown)
        : volume_(volume),
          shown_(shown),
          record_size_(volume.record_size()),
          // Where clusters are smaller than records, records begin on any cluster.
          stride_(std::min(volume.record_size(), volume.cluster_size())),
          size_(volume_size(volume)) {}

    void run() {
        std::vector<std::uint8_t> buffer(static_cast<std::size_t>(piece_size / stride_ * stride_));
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        for (std::uint64_t at = 0; at < size_ && volume_.next_data(at, begin, end);) {
            begin = std::max(at, begin / stride_ * stride_);
            end = std::min(end, size_);
            for (at = begin; at < end;) {
                const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), size_ - at));
                if (!scan_piece(at, std::span(buffer).first(wanted))) return;
                at += wanted;
                shown_.show_percent(std::min(at, size_), size_);
            }
        }
    }

    [[nodiscard]] const record_store& store() const { return store_; }

private:
    static std::uint64_t volume_size(const ntfs_volume& volume) {
        const volume_geometry& geometry = volume.geometry();
        constexpr std::uint64_t most = std::uint64_t{1} << 62U;
        const std::uint64_t claimed = geometry.total_sectors < most / geometry.bytes_per_sector
                                          ? geometry.total_sectors * geometry.bytes_per_sector
                                          : most;
        const std::uint64_t source = volume.source_size();
        if (source == 0) return claimed;
        return source > volume.volume_offset() ? std::min(claimed, source - volume.volume_offset()) : 0;
    }

    // False at the end of a source that does not tell its size.
    [[nodiscard]] bool scan_piece(std::uint64_t at, std::span<std::uint8_t> piece) {
        const std::size_t before = store_.size();
        std::size_t got = 0;
        if (volume_.read_volume(at, piece, got)) {
            scan_bytes(at, piece.first(got));
        } else if (volume_.source_size() == 0) {
            return false;
        } else {
            const std::size_t step = static_cast<std::size_t>(records_per_retry * record_size_);
            for (std::size_t done = 0; done < piece.size(); done += step) {
                const auto part = piece.subspan(done, std::min(step, piece.size() - done));
                if (volume_.read_volume(at + done, part, got)) {
                    scan_bytes(at + done, part.first(got));
                } else {
                    volume_.log().line(format_text("err: rebuild: cannot read at 0x%llx", ull{at} + done));
                }
            }
        }
        if (store_.size() != before && shown_.wanted()) {
            shown_.show(
                format_text("inode count %lld, offset 0x%0llx", static_cast<long long>(store_.size()), ull{at}));
        }
        return true;
    }

    void scan_bytes(std::uint64_t at, std::span<const std::uint8_t> bytes) {
        for (std::size_t slot = 0; slot < bytes.size(); slot += stride_) {
            const byte_view record(bytes.subspan(slot));
            if (record.value<std::uint32_t>(multi_sector_header::signature) != signature_file ||
                record.value<std::uint16_t>(multi_sector_header::sequence_offset) != header_with_own_number ||
                !is_well_formed_file_record(record, volume_.taken_records())) {
                continue;
            }
            take(record, at + slot);
        }
    }

    void take(byte_view record, std::uint64_t offset) {
        const auto entry = record.value<std::uint32_t>(mft_record::own_number);
        if (entry >= size_ / record_size_) {
            if (volume_.log().enabled()) {
                volume_.log().line(
                    format_text("inode offset requires a larger buffer than we have [0x%llx : 0x%llx : 0x%llx]",
                                static_cast<ull>(entry), ull{entry} * record_size_, static_cast<ull>(size_)));
            }
            return;
        }
        const auto flags = record.value<std::uint16_t>(mft_record::flags);
        const stored_record found{.offset = offset,
                                  .slot = static_cast<std::uint32_t>(store_.size()),
                                  .sequence = record.value<std::uint16_t>(mft_record::sequence_number),
                                  .in_use = (flags & mft_record::flag_in_use) != 0,
                                  .directory = (flags & mft_record::flag_directory) != 0};
        const auto [place, is_new] = store_.try_emplace(entry, found);
        stored_record& stored = place->second;
        if (volume_.log().enabled()) {
            volume_.log().line((is_new ? "adding inode: " : "checking/updating store entry with: inode: ") +
                               format_text("0x%llx, indx 0x%llx, offset 0x%llx", static_cast<ull>(entry),
                                           static_cast<ull>(stored.slot), static_cast<ull>(offset)));
        }
        if (is_new || found.sequence < stored.sequence) return;
        if (found.sequence == stored.sequence && (stored.in_use || !found.in_use)) return;
        const std::uint32_t slot = stored.slot;
        stored = found;
        stored.slot = slot;
    }

    ntfs_volume& volume_;
    progress& shown_;
    std::uint64_t record_size_;
    std::uint64_t stride_;
    std::uint64_t size_;
    record_store store_;
};

// Every stored record, read once more from where it lies.
std::vector<record_place> readable_places(ntfs_volume& volume, const record_store& store) {
    std::vector<record_place> places;
    places.reserve(store.size());
    std::vector<std::uint8_t> record(volume.record_size());
    const bool logging = volume.log().enabled();
    for (const auto& [entry, stored] : store) {
        std::size_t got = 0;
        const bool read = volume.read_volume(stored.offset, record, got) && got == record.size();
        if (read) places.push_back({entry, stored.offset});
        if (!logging) continue;
        volume.log().line(format_text("validating inode: 0x%llx : indx 0x%x", static_cast<ull>(entry), stored.slot));
        volume.log().line((read ? "writing inode: " : "prob reading filerecord from inode: ") +
                          format_text(read ? "0x%llx : offset 0x%llx" : "0x%llx, offset 0x%llx",
                                      static_cast<ull>(entry), static_cast<ull>(stored.offset)));
    }
    return places;
}

// What the diagnostic log is told of the directories that were found.
class store_paths {
public:
    store_paths(ntfs_volume& volume, const record_store& store) : volume_(volume), store_(store) {
        mft_entry entry;
        for (const auto& [number, stored] : store_) {
            if (stored.directory && volume_.load_entry(number, entry)) {
                names_[number] = {name_of_entry(entry), entry_number(first_parent(entry))};
            }
        }
    }

    void log() const {
        for (const auto& [number, name] : names_) {
            volume_.log().line(format_text("path of inode: 0x%llx : ", static_cast<ull>(number)) + path_of(number));
        }
    }

private:
    struct stored_name {
        std::u16string name;
        std::uint64_t parent = 0;
    };

    // Bounded by the longest path, which a chain of parents that loops comes to as well.
    [[nodiscard]] std::string path_of(std::uint64_t number) const {
        std::vector<std::string> names;
        std::size_t length = 0;
        while (number != root_entry_number) {
            const auto found = names_.find(number);
            if (found == names_.end() && (number != static_cast<std::uint32_t>(number) ||
                                          !store_.contains(static_cast<std::uint32_t>(number)))) {
                return joined(format_text("[unk_inode_0x%08llx]", static_cast<ull>(number)), std::move(names));
            }
            if (found == names_.end() || found->second.name.empty() || length > longest_path) return "[unk path]";
            names.push_back("\\" + to_utf8(found->second.name));
            length += names.back().size();
            number = found->second.parent;
        }
        return joined("[root]", std::move(names));
    }

    // `names` come from the lowest on.
    static std::string joined(std::string path, std::vector<std::string> names) {
        std::ranges::reverse(names);
        for (const std::string& name : names) path += name;
        return path;
    }

    ntfs_volume& volume_;
    const record_store& store_;
    std::map<std::uint64_t, stored_name> names_;  // of directories, by entry number
};

}  // namespace

rebuild_result rebuild_mft(ntfs_volume& volume, progress& shown) {
    std::vector<std::uint8_t> sector(boot_sector::size);
    std::size_t got = 0;
    if (!volume.read_volume(0, sector, got)) return rebuild_result::unreadable;
    if (!volume.read_geometry()) return rebuild_result::failed;
    volume_scan scan(volume, shown);
    scan.run();
    if (!volume.use_memory_mft(readable_places(volume, scan.store()))) return rebuild_result::failed;
    if (volume.log().enabled()) store_paths(volume, scan.store()).log();
    return rebuild_result::rebuilt;
}
