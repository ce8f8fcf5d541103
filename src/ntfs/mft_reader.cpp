#include "ntfs/mft_reader.h"

#include "base/format_text.h"
#include "ntfs/fixup.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t smallest_rebuilt_mft = 4096;

// A record that begins at most `nearby` behind the one before is read together with what follows it, `window_size`
// bytes of $MFT at once: then records are asked for in their order. One further off is read alone.
constexpr std::size_t window_size = std::size_t{64} << 10U;
constexpr std::uint64_t nearby = std::uint64_t{4} << 10U;

}  // namespace

void mft_reader::close() {
    mounted_ = false;
    damaged_ = false;
    misplaced_pieces_ = 0;
    extension_bytes_ = {readings::extension_records, clusters_.source_limit()};
    places_.clear();
    window_.clear();
    extents_.clear();
}

bool mft_reader::mount() {
    record_size_ = clusters_.geometry().record_size;
    mft_entry mft;
    damaged_ = !read_first_record() || !load_entry(mft_entry_number, mft);
    if (damaged_) return false;
    mounted_ = true;
    ntfs_stream data;
    const std::uint32_t cluster_size = clusters_.cluster_size();
    if (!collect_stream(mft, attribute_type::data, u"", cluster_size, data)) return true;
    extents_ = std::move(data.extents);
    record_count_ = (data.resident ? cluster_size : end_in_bytes(extents_, cluster_size)) / record_stride_;
    return true;
}

bool mft_reader::mount_export() {
    record_size_ = clusters_.geometry().record_size;
    mounted_ = clusters_.source_size() >= record_size_ && read_first_record();
    if (mounted_) record_count_ = clusters_.source_size() / record_stride_;
    return mounted_;
}

bool mft_reader::mount_places(std::vector<record_place> places) {
    record_size_ = clusters_.geometry().record_size;
    if (places.size() <= smallest_rebuilt_mft / record_size_) return false;
    record_count_ = places.back().entry + 1;
    record_stride_ = record_size_;
    places_ = std::move(places);
    mounted_ = true;
    return true;
}

// A record knows its own size better than the boot sector does: by the sectors that its update sequence covers.
bool mft_reader::read_first_record() {
    std::vector<std::uint8_t> record;
    record_stride_ = record_size_;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!fetch_record(mft_entry_number, record) || !is_well_formed_file_record(byte_view(record), sizes_)) {
            log().line("err: mount: MFT record 0 is damaged");
            return false;
        }
        const std::uint32_t count = byte_view(record).value<std::uint16_t>(multi_sector_header::sequence_count);
        const std::uint32_t true_size = count == 0 ? 0 : (count - 1) * std::uint32_t{update_sequence_stride};
        if (true_size <= record_size_) break;
        record_size_ = true_size;
    }
    record_stride_ = byte_view(record).value<std::uint32_t>(mft_record::bytes_allocated);
    if (record_stride_ >= smallest_record && record_stride_ <= largest_record) return true;
    log().line(format_text("err: mount: MFT record 0: bytes allocated: %u", record_stride_));
    return false;
}

std::optional<std::uint64_t> mft_reader::record_offset(std::uint64_t entry_number) const {
    if (!mounted_ || !clusters_.readable()) return std::nullopt;
    if (!places_.empty()) {
        const auto found = std::ranges::lower_bound(places_, entry_number, {}, &record_place::entry);
        if (found == places_.end() || found->entry != entry_number) return std::nullopt;
        return found->offset;
    }
    if (entry_number > std::numeric_limits<std::uint64_t>::max() / record_stride_) return std::nullopt;
    const std::uint64_t position = entry_number * record_stride_;
    const std::uint64_t vcn = position / clusters_.cluster_size();
    std::size_t index = 0;
    if (!find_extent(extents_, vcn, index) || extents_[index].sparse) return std::nullopt;
    const auto at = clusters_.cluster_offset(extents_[index].lcn + (vcn - extents_[index].vcn));
    if (!at) return std::nullopt;
    return *at - clusters_.volume_offset() + position % clusters_.cluster_size();
}

// The bytes of a record as they lie. The first one lies where the boot sector says.
bool mft_reader::fetch_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
    const bool first = entry_number == mft_entry_number;
    record.resize(first || !places_.empty() ? record_size_ : record_stride_);
    std::size_t got = 0;
    if (!places_.empty()) {
        const auto offset = record_offset(entry_number);
        if (!offset || !clusters_.read_volume(*offset, record, got)) return false;
    } else if (entry_number > std::numeric_limits<std::uint64_t>::max() / largest_record) {
        return false;
    } else if (first && clusters_.readable()) {
        const auto offset = clusters_.cluster_offset(clusters_.geometry().mft_cluster);
        if (!offset || !clusters_.reader().read_at(*offset, record, got)) return false;
    } else {
        const std::uint64_t position = record_position(entry_number);
        if (const auto ahead = window_at(position, record.size()); !ahead.empty()) {
            std::ranges::copy(ahead, record.begin());
            return true;
        }
        got = read_mft(position, record);
    }
    record.resize(got);
    return got != 0;
}

// A record in the window; empty when it is not there and not to be read with its neighbours, or a part of it is
// missing.
std::span<std::uint8_t> mft_reader::window_at(std::uint64_t position, std::size_t length) {
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
        window_.resize(read_mft(position, window_));
        if (!inside()) return {};
    }
    last_position_ = position;
    return std::span(window_).subspan(static_cast<std::size_t>(position - window_begin_), length);
}

// Where a record lies in $MFT, or in the file that it was exported to.
std::uint64_t mft_reader::record_position(std::uint64_t entry_number) const {
    return entry_number * (clusters_.readable() ? record_stride_ : record_size_);
}

// Bytes of $MFT, or of the file that it was exported to. The result is how many were read.
std::size_t mft_reader::read_mft(std::uint64_t position, std::span<std::uint8_t> into) {
    if (clusters_.readable()) return clusters_.read_stream_beginning(extents_, position, into);
    std::size_t got = 0;
    return clusters_.reader().read_at(position, into, got) ? got : 0;
}

record_state mft_reader::read_record(std::uint64_t entry_number, std::vector<std::uint8_t>& record) {
    return fetch_record(entry_number, record) ? restore(record) : record_state::unreadable;
}

record_state mft_reader::view_record(std::uint64_t entry_number, byte_view& record) {
    // Records that overlap, as a damaged export may have them, are not restored where they lie. The first one and those
    // of a rebuilt MFT lie elsewhere.
    const bool apart = record_stride_ <= record_size_;
    const bool in_its_place = places_.empty() && entry_number != mft_entry_number && entry_number < record_count_;
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
record_state mft_reader::restore(std::span<std::uint8_t> record) const {
    switch (apply_fixup(record, sizes_)) {
        case record_kind::file_record:
        case record_kind::index_block: return record_state::good;
        case record_kind::bad_record: log().line("err: fixup_mft type: BAAD"); return record_state::marked_bad;
        case record_kind::none: break;
    }
    return record_state::no_record;
}
