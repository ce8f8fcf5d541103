#include "ntfs/ntfs_volume.h"

#include "base/format_text.h"
#include "base/saturating.h"
#include "ntfs/fixup.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {

using ull = unsigned long long;

// What an exported $MFT is taken to come from.
constexpr volume_geometry default_geometry{.bytes_per_sector = 512, .cluster_size = 4096, .record_size = 1024};

constexpr std::uint32_t smallest_record = 48;
constexpr std::uint32_t largest_record = 64U << 10U;
constexpr std::size_t smallest_memory_mft = 4096;

// Of $MFT: how much is read ahead, and how far behind the last record one may lie for that to pay.
constexpr std::size_t window_size = std::size_t{64} << 10U;
constexpr std::uint64_t nearby = std::uint64_t{4} << 10U;

// An extension record belongs to one file and an index block to one directory, and a run comes to each file a few
// times. So what files claim of them together is bounded by so many times the source.
constexpr std::uint64_t extension_readings = 16;
constexpr std::uint64_t index_readings = 8;

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

bool ntfs_volume::open_volume(const std::string& path, reader_mode mode, std::uint64_t volume_offset) {
    disk_reader opened;
    if (!opened.open(path, mode)) return false;
    open_volume(std::move(opened), volume_offset);
    return true;
}

void ntfs_volume::open_volume(disk_reader reader, std::uint64_t volume_offset) {
    reader_ = std::move(reader);
    volume_offset_ = volume_offset;
    clusters_readable_ = true;
    mounted_ = false;
    mft_damaged_ = false;
    misplaced_mft_pieces_ = 0;
    source_limit_ = source_size() == 0 ? probed_limit(reader_) : source_size();
    extension_bytes_left_ = saturating_product(source_limit_, extension_readings);
    index_bytes_left_ = saturating_product(source_limit_, index_readings);
    memory_mft_.clear();
    window_.clear();
    mft_extents_.clear();
    directories_.clear();
}

bool ntfs_volume::open_mft_file(const std::string& path) {
    disk_reader opened;
    return opened.open(path, reader_mode::image_file) && open_mft_file(std::move(opened));
}

bool ntfs_volume::open_mft_file(disk_reader reader) {
    open_volume(std::move(reader), 0);
    clusters_readable_ = false;
    geometry_ = default_geometry;
    record_size_ = geometry_.record_size;
    mounted_ = source_size() >= record_size_ && read_first_record();
    if (mounted_) record_count_ = source_size() / record_stride_;
    return mounted_;
}

bool ntfs_volume::use_memory_mft(std::vector<record_place> places) {
    if (record_size_ == 0 || places.size() <= smallest_memory_mft / record_size_) return false;
    record_count_ = places.back().entry + 1;
    record_stride_ = record_size_;
    memory_mft_ = std::move(places);
    mounted_ = true;
    return true;
}

bool ntfs_volume::mount() {
    if (!mounted_ && reader_.is_open() && clusters_readable_) mounted_ = mount_source();
    return mounted_;
}

bool ntfs_volume::read_geometry() {
    std::vector<std::uint8_t> sector(boot_sector::size);
    std::size_t got = 0;
    std::string reason = "boot sector cannot be read";
    if (!reader_.read_at(volume_offset_, sector, got) || got != sector.size() ||
        !read_boot_sector(byte_view(sector), geometry_, reason)) {
        log_.line("err: mount: " + reason);
        return false;
    }
    record_size_ = geometry_.record_size;
    return true;
}

bool ntfs_volume::mount_source() {
    if (!read_geometry()) return false;
    mft_entry mft;
    mft_damaged_ = !read_first_record() || !load_entry(mft_entry_number, mft);
    if (mft_damaged_) return false;
    ntfs_stream data;
    if (!collect_stream(mft, attribute_type::data, u"", cluster_size(), data)) return true;
    mft_extents_ = std::move(data.extents);
    const std::uint64_t bytes = data.resident ? cluster_size() : end_in_bytes(mft_extents_, cluster_size());
    record_count_ = bytes / record_stride_;
    return true;
}

// A record knows its own size better than the boot sector does: by the sectors that its update sequence covers.
bool ntfs_volume::read_first_record() {
    std::vector<std::uint8_t> record;
    record_stride_ = record_size_;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!fetch_record(mft_entry_number, record) || !is_well_formed_file_record(byte_view(record), record_sizes_)) {
            log_.line("err: mount: MFT record 0 is damaged");
            return false;
        }
        const std::uint32_t count = byte_view(record).value<std::uint16_t>(multi_sector_header::sequence_count);
        const std::uint32_t true_size = count == 0 ? 0 : (count - 1) * std::uint32_t{update_sequence_stride};
        if (true_size <= record_size_) break;
        record_size_ = true_size;
    }
    record_stride_ = byte_view(record).value<std::uint32_t>(mft_record::bytes_allocated);
    if (record_stride_ >= smallest_record && record_stride_ <= largest_record) return true;
    log_.line(format_text("err: mount: MFT record 0: bytes allocated: %u", record_stride_));
    return false;
}

std::optional<std::uint64_t> ntfs_volume::record_offset(std::uint64_t entry_number) const {
    if (!mounted_ || !clusters_readable_) return std::nullopt;
    if (!memory_mft_.empty()) {
        const auto found = std::ranges::lower_bound(memory_mft_, entry_number, {}, &record_place::entry);
        if (found == memory_mft_.end() || found->entry != entry_number) return std::nullopt;
        return found->offset;
    }
    if (entry_number > std::numeric_limits<std::uint64_t>::max() / record_stride_) return std::nullopt;
    const std::uint64_t position = entry_number * record_stride_;
    std::size_t index = 0;
    if (!find_extent(mft_extents_, position / cluster_size(), index) || mft_extents_[index].sparse) return std::nullopt;
    const extent& part = mft_extents_[index];
    const auto at = cluster_offset(part.lcn + (position / cluster_size() - part.vcn));
    if (!at) return std::nullopt;
    return *at - volume_offset_ + position % cluster_size();
}

std::uint64_t ntfs_volume::clusters_in_source() const {
    return source_limit_ <= volume_offset_ ? 0 : (source_limit_ - volume_offset_ - 1) / cluster_size() + 1;
}

std::uint64_t ntfs_volume::records_in_source() const { return source_limit_ / record_stride_; }

std::optional<std::uint64_t> ntfs_volume::cluster_offset(std::uint64_t lcn) const {
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (volume_offset_ > highest || lcn > (highest - volume_offset_) / cluster_size()) return std::nullopt;
    return lcn * cluster_size() + volume_offset_;
}

// The bytes of a record as they lie.
bool ntfs_volume::fetch_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
    if (!memory_mft_.empty()) return fetch_remembered(entry_number, record);
    record.resize(entry_number == mft_entry_number ? record_size_ : record_stride_);
    if (entry_number > std::numeric_limits<std::uint64_t>::max() / largest_record) return false;
    std::size_t got = 0;
    bool read = false;
    if (clusters_readable_ && entry_number == mft_entry_number) {
        read = read_clusters(geometry_.mft_cluster, record, got);
    } else {
        const std::uint64_t position = record_position(entry_number);
        if (const auto ahead = window_at(position, record.size()); !ahead.empty()) {
            std::ranges::copy(ahead, record.begin());
            return true;
        }
        read = read_mft(position, record, got);
    }
    record.resize(got);
    return read && got != 0;
}

bool ntfs_volume::fetch_remembered(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
    const auto offset = record_offset(entry_number);
    record.resize(record_size_);
    std::size_t got = 0;
    if (!offset || !read_volume(*offset, record, got)) return false;
    record.resize(got);
    return true;
}

// A record in the window; empty when it is not there and not to be read with its neighbours, or a part of it is
// missing.
std::span<std::uint8_t> ntfs_volume::window_at(std::uint64_t position, std::size_t length) {
    if (!mounted_) return {};
    const auto inside = [&] {
        return position >= window_begin_ && position - window_begin_ <= window_.size() &&
               length <= window_.size() - (position - window_begin_);
    };
    if (!inside()) {
        const bool near = position > last_position_ && position - last_position_ <= nearby;
        last_position_ = position;
        if (!near) return {};
        window_.resize(window_size);
        window_begin_ = position;
        std::size_t got = 0;
        if (!read_mft(position, window_, got)) got = 0;
        window_.resize(got);
        if (!inside()) return {};
    }
    last_position_ = position;
    return std::span(window_).subspan(static_cast<std::size_t>(position - window_begin_), length);
}

// Where a record lies in $MFT, or in the file that it was exported to.
std::uint64_t ntfs_volume::record_position(std::uint64_t entry_number) const {
    return entry_number * (clusters_readable_ ? record_stride_ : record_size_);
}

// Bytes of $MFT, or of the file that it was exported to.
bool ntfs_volume::read_mft(std::uint64_t position, std::span<std::uint8_t> into, std::size_t& got) {
    if (!clusters_readable_) return reader_.read_at(position, into, got);
    return read_stream_range(mft_extents_, position, into, got);
}

record_state ntfs_volume::read_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
    return fetch_record(entry_number, record) ? restore(record) : record_state::unreadable;
}

record_state ntfs_volume::view_record(std::uint64_t entry_number, byte_view& record) {
    // Records that overlap, as a damaged export may have them, are not restored where they lie. The first one and those
    // of a rebuilt MFT lie elsewhere.
    const bool apart = record_stride_ <= record_size_;
    const bool in_its_place = memory_mft_.empty() && entry_number != mft_entry_number && entry_number < record_count_;
    if (apart && in_its_place) {
        const auto bytes = window_at(record_position(entry_number), record_stride_);
        record = byte_view(bytes);
        if (!bytes.empty()) return restore(bytes);
    }
    const record_state state = read_record(entry_number, viewed_);
    record = byte_view(viewed_);
    return state;
}

// Applies the update sequence. That of a file record ends before the first place it restores, so again is like once.
record_state ntfs_volume::restore(std::span<std::uint8_t> record) const {
    switch (apply_fixup(record, record_sizes_)) {
        case record_kind::file_record:
        case record_kind::index_block: return record_state::good;
        case record_kind::bad_record: log_.line("err: fixup_mft type: BAAD"); return record_state::marked_bad;
        case record_kind::none: break;
    }
    return record_state::no_record;
}

bool ntfs_volume::read_volume(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t& got) {
    got = 0;
    return clusters_readable_ && offset <= ~volume_offset_ && reader_.read_at(volume_offset_ + offset, into, got);
}

bool ntfs_volume::next_data(std::uint64_t offset, std::uint64_t& begin, std::uint64_t& end) const {
    if (!clusters_readable_ || offset > ~volume_offset_) return false;
    if (!reader_.next_data(volume_offset_ + offset, begin, end)) return false;
    begin -= volume_offset_;
    end -= volume_offset_;
    return true;
}

bool ntfs_volume::read_clusters(std::uint64_t lcn, std::span<std::uint8_t> into, std::size_t& got) {
    got = 0;
    const auto at = cluster_offset(lcn);
    return clusters_readable_ && at && reader_.read_at(*at, into, got);
}

bool ntfs_volume::read_stream_range(const extent_list& extents, std::uint64_t position, std::span<std::uint8_t> into,
                                    std::size_t& got) {
    got = 0;
    std::size_t index = 0;
    while (got < into.size() && find_extent(extents, position / cluster_size(), index)) {
        const extent& part = extents[index];
        const std::uint64_t into_cluster = position % cluster_size();
        const std::uint64_t wanted = into.size() - got;
        const std::uint64_t clusters =
            std::min(part.end_vcn() - position / cluster_size(), wanted / cluster_size() + 2);
        const auto length = static_cast<std::size_t>(std::min(clusters * cluster_size() - into_cluster, wanted));
        const auto target = into.subspan(got, length);
        std::size_t part_got = length;
        if (part.sparse) {
            std::ranges::fill(target, std::uint8_t{0});
        } else {
            const auto at = cluster_offset(part.lcn + (position / cluster_size() - part.vcn));
            part_got = at ? read_as_far_as_possible(*at + into_cluster, target) : 0;
        }
        got += part_got;
        if (part_got != length) break;
        position += length;
    }
    return got != 0;
}

// One read; when it fails, cluster by cluster up to the bad one.
std::size_t ntfs_volume::read_as_far_as_possible(std::uint64_t at, std::span<std::uint8_t> into) {
    std::size_t got = 0;
    if (!clusters_readable_) return 0;
    if (reader_.read_at(at, into, got)) return got;
    std::size_t done = 0;
    while (done < into.size()) {
        const auto piece = into.subspan(done, std::min<std::size_t>(cluster_size(), into.size() - done));
        if (!reader_.read_at(at + done, piece, got)) break;
        done += got;
        if (got != piece.size()) break;
    }
    return done;
}
