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

constexpr std::uint64_t records_per_retry = 16;  // after a read that failed
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
    volume_scan(volume_clusters& clusters, record_sizes sizes, progress& shown)
        : clusters_(clusters),
          sizes_(sizes),
          shown_(shown),
          record_size_(clusters.geometry().record_size),
          // Where clusters are smaller than records, records begin on any cluster.
          stride_(std::min<std::uint64_t>(record_size_, clusters.cluster_size())),
          size_(volume_size(clusters)) {}

    void run() {
        // Where a source that does not tell its size cannot be read, it ends: nothing behind is asked for.
        const bool endless = clusters_.source_size() == 0;
        const std::uint64_t begin = clusters_.volume_offset();
        const salvage_rule rule{.unit = records_per_retry * record_size_ / stride_ * stride_, .stop_at_loss = endless};
        read_pieces(clusters_.reader(), begin, begin + size_, rule,
                    [&](std::uint64_t offset, std::span<const std::uint8_t> piece, const loss_list& losses) {
                        scan_piece(offset - begin, piece, losses);
                        return !endless || losses.empty();
                    });
    }

    [[nodiscard]] const record_store& store() const { return store_; }

private:
    static std::uint64_t volume_size(const volume_clusters& clusters) {
        const volume_geometry& geometry = clusters.geometry();
        constexpr std::uint64_t most = std::uint64_t{1} << 62U;
        const std::uint64_t claimed = geometry.total_sectors < most / geometry.bytes_per_sector
                                          ? geometry.total_sectors * geometry.bytes_per_sector
                                          : most;
        const std::uint64_t source = clusters.source_size();
        if (source == 0) return claimed;
        return source > clusters.volume_offset() ? std::min(claimed, source - clusters.volume_offset()) : 0;
    }

    void scan_piece(std::uint64_t at, std::span<const std::uint8_t> piece, const loss_list& losses) {
        const std::size_t before = store_.size();
        std::size_t done = 0;
        for (const loss& one : losses) {
            scan_bytes(at + done, piece.subspan(done, one.begin - done));
            clusters_.log().line(format_text("err: rebuild: cannot read at 0x%llx", ull{at} + one.begin));
            done = one.end;
        }
        scan_bytes(at + done, piece.subspan(done));
        if (store_.size() != before && shown_.wanted()) {
            shown_.show(
                format_text("inode count %lld, offset 0x%0llx", static_cast<long long>(store_.size()), ull{at}));
        }
        shown_.show_percent(at + piece.size(), size_);
    }

    void scan_bytes(std::uint64_t at, std::span<const std::uint8_t> bytes) {
        for (std::size_t slot = 0; slot < bytes.size(); slot += stride_) {
            const byte_view record(bytes.subspan(slot));
            if (record.value<std::uint32_t>(multi_sector_header::signature) != signature_file ||
                record.value<std::uint16_t>(multi_sector_header::sequence_offset) != header_with_own_number ||
                !is_well_formed_file_record(record, sizes_)) {
                continue;
            }
            take(record, at + slot);
        }
    }

    void take(byte_view record, std::uint64_t offset) {
        const auto entry = record.value<std::uint32_t>(mft_record::own_number);
        if (entry >= size_ / record_size_) {
            if (clusters_.log().enabled()) {
                clusters_.log().line(
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
        if (clusters_.log().enabled()) {
            clusters_.log().line((is_new ? "adding inode: " : "checking/updating store entry with: inode: ") +
                                 format_text("0x%llx, indx 0x%llx, offset 0x%llx", static_cast<ull>(entry),
                                             static_cast<ull>(stored.slot), static_cast<ull>(offset)));
        }
        if (is_new || found.sequence < stored.sequence) return;
        if (found.sequence == stored.sequence && (stored.in_use || !found.in_use)) return;
        const std::uint32_t slot = stored.slot;
        stored = found;
        stored.slot = slot;
    }

    volume_clusters& clusters_;
    record_sizes sizes_;
    progress& shown_;
    std::uint64_t record_size_;
    std::uint64_t stride_;
    std::uint64_t size_;
    record_store store_;
};

// Every stored record, read once more from where it lies.
std::vector<record_place> readable_places(volume_clusters& clusters, const record_store& store) {
    std::vector<record_place> places;
    places.reserve(store.size());
    std::vector<std::uint8_t> record(clusters.geometry().record_size);
    const bool logging = clusters.log().enabled();
    for (const auto& [entry, stored] : store) {
        std::size_t got = 0;
        const bool read = clusters.read_volume(stored.offset, record, got) && got == record.size();
        if (read) places.push_back({entry, stored.offset});
        if (!logging) continue;
        clusters.log().line(format_text("validating inode: 0x%llx : indx 0x%x", static_cast<ull>(entry), stored.slot));
        clusters.log().line((read ? "writing inode: " : "prob reading filerecord from inode: ") +
                            format_text(read ? "0x%llx : offset 0x%llx" : "0x%llx, offset 0x%llx",
                                        static_cast<ull>(entry), static_cast<ull>(stored.offset)));
    }
    return places;
}

// What the diagnostic log is told of the directories that were found.
class store_paths {
public:
    store_paths(mft_reader& mft, const record_store& store) : mft_(mft), store_(store) {
        mft_entry entry;
        for (const auto& [number, stored] : store_) {
            if (stored.directory && mft_.load_entry(number, entry)) {
                names_[number] = {name_of_entry(entry), entry_number(first_parent(entry))};
            }
        }
    }

    void log() const {
        for (const auto& [number, name] : names_) {
            mft_.log().line(format_text("path of inode: 0x%llx : ", static_cast<ull>(number)) + path_of(number));
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
            std::string& name = names.emplace_back("\\");
            name += to_utf8(found->second.name);
            length += name.size();
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

    mft_reader& mft_;
    const record_store& store_;
    std::map<std::uint64_t, stored_name> names_;  // of directories, by entry number
};

}  // namespace

rebuild_result rebuild_mft(ntfs_volume& volume, progress& shown) {
    volume_clusters& clusters = volume.clusters();
    std::vector<std::uint8_t> sector(boot_sector::size);
    std::size_t got = 0;
    if (!clusters.read_volume(0, sector, got)) return rebuild_result::unreadable;
    if (!clusters.read_geometry()) return rebuild_result::failed;
    volume_scan scan(clusters, volume.mft().taken_records(), shown);
    scan.run();
    if (!volume.mft().mount_places(readable_places(clusters, scan.store()))) return rebuild_result::failed;
    if (volume.log().enabled()) store_paths(volume.mft(), scan.store()).log();
    return rebuild_result::rebuilt;
}
