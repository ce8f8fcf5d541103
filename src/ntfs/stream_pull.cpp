#include "ntfs/stream_pull.h"

#include "base/format_text.h"
#include "ntfs/fixup.h"

#include <algorithm>
#include <limits>
#include <span>
#include <vector>

namespace {

constexpr std::uint64_t page_size = 4096;
constexpr std::uint64_t clusters_per_chunk = 16;
constexpr std::uint64_t least_window = 1U << 20U;
constexpr auto longest_stream = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

// [begin, end) in bytes of the stream.
struct stretch {
    enum class kind : std::uint8_t { data, hole, lost };
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t at = 0;  // data: where it begins on the source, in bytes
    kind what = kind::data;
};

// The stream as stretches that follow one another without a gap, cut where the source ends.
class stream_plan {
public:
    stream_plan(const volume_clusters& clusters, const extent_list& extents, std::uint64_t size) : clusters_(clusters) {
        const std::uint32_t cluster_size = clusters.cluster_size();
        size = std::min(size, longest_stream);
        length_ = std::min(size, end_in_bytes(extents, cluster_size));
        lost_ = size - length_;
        for (const extent& part : extents) {
            if (part.vcn > length_ / cluster_size) break;
            add_lost_up_to(std::min(part.vcn * cluster_size, length_));
            add_extent(part);
        }
        add_lost_up_to(length_);  // the size may end in a gap
    }

    [[nodiscard]] std::uint64_t length() const { return length_; }
    [[nodiscard]] std::uint64_t lost() const { return lost_; }
    [[nodiscard]] std::span<const stretch> stretches() const { return stretches_; }

    // The first stretch with bytes on the volume that ends behind `position`; null when there is none.
    [[nodiscard]] const stretch* data_at_or_behind(std::uint64_t position) const {
        auto found = std::ranges::upper_bound(stretches_, position, {}, &stretch::end);
        while (found != stretches_.end() && found->what != stretch::kind::data) ++found;
        return found == stretches_.end() ? nullptr : &*found;
    }

private:
    [[nodiscard]] std::uint64_t end() const { return stretches_.empty() ? 0 : stretches_.back().end; }

    void add_lost_up_to(std::uint64_t position) {
        if (position <= end()) return;
        lost_ += position - end();
        stretches_.push_back({end(), position, 0, stretch::kind::lost});
    }

    void add_extent(const extent& part) {
        const std::uint64_t begin = end();
        const std::uint64_t room = length_ - begin;
        const std::uint64_t cluster_size = clusters_.cluster_size();
        const std::uint64_t bytes = part.length > room / cluster_size ? room : part.length * cluster_size;
        if (bytes == 0) return;
        if (part.sparse) {
            stretches_.push_back({begin, begin + bytes, 0, stretch::kind::hole});
            return;
        }
        const auto at = clusters_.cluster_offset(part.lcn);
        const std::uint64_t source = clusters_.source_limit();
        const std::uint64_t held = at && *at < source ? std::min(bytes, source - *at) : 0;
        if (held != 0) stretches_.push_back({begin, begin + held, *at, stretch::kind::data});
        add_lost_up_to(begin + bytes);
    }

    const volume_clusters& clusters_;
    std::vector<stretch> stretches_;
    std::uint64_t length_ = 0;
    std::uint64_t lost_ = 0;
};

// Some chunks' worth of the stream in memory, with what each part of it is.
class window {
public:
    window(volume_clusters& clusters, const stream_plan& plan, chunk_starts starts)
        : clusters_(clusters),
          plan_(plan),
          starts_(starts),
          chunk_size_(clusters_per_chunk * clusters.cluster_size()),
          bytes_(static_cast<std::size_t>(
              std::min(plan.length(), (least_window + chunk_size_ - 1) / chunk_size_ * chunk_size_))) {}

    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

    // Reads the window that begins at `begin`, a multiple of its size. The result is how many bytes could not be read.
    [[nodiscard]] std::uint64_t fill(std::uint64_t begin) {
        begin_ = begin;
        end_ = begin + std::min<std::uint64_t>(bytes_.size(), plan_.length() - begin);
        parts_.clear();
        unread_ = 0;
        const auto all = plan_.stretches();
        for (auto next = std::ranges::upper_bound(all, begin, {}, &stretch::end);
             next != all.end() && next->begin < end_; ++next) {
            const std::uint64_t from = std::max(next->begin, begin_);
            const std::uint64_t to = std::min(next->end, end_);
            if (next->what == stretch::kind::data) {
                read(*next, from, to);
            } else {
                // Zeros are handed on only behind data of the same chunk, so a hole costs no more than that.
                const std::uint64_t chunk_end = std::min((from / chunk_size_ + 1) * chunk_size_, to);
                if (next->what == stretch::kind::hole) std::ranges::fill(at(from, chunk_end), std::uint8_t{0});
                parts_.push_back({from, to, 0, next->what});
            }
        }
        return unread_;
    }

    void hand_on(bool index_blocks, const chunk_sink& sink) {
        for (std::uint64_t chunk = begin_; chunk < end_; chunk += chunk_size_) {
            const std::uint64_t chunk_end = std::min(chunk + chunk_size_, end_);
            for (std::uint64_t from = chunk; from < chunk_end;) {
                if (!find_start(from, chunk_end)) break;
                const std::uint64_t to = lost_behind(from, chunk_end);
                const auto bytes = at(from, to);
                if (index_blocks) fix_up_blocks(bytes);
                sink(byte_view(bytes, from));
                from = to;
            }
        }
    }

private:
    [[nodiscard]] std::span<std::uint8_t> at(std::uint64_t from, std::uint64_t to) {
        return std::span(bytes_).subspan(static_cast<std::size_t>(from - begin_), static_cast<std::size_t>(to - from));
    }

    void read(const stretch& part, std::uint64_t from, std::uint64_t to) {
        losses_.clear();
        (void)read_around_damage(clusters_.reader(), part.at + (from - part.begin), at(from, to),
                                 {.unit = clusters_.cluster_size()}, losses_);
        std::uint64_t done = from;
        for (const loss& one : losses_) {
            if (from + one.begin != done) parts_.push_back({done, from + one.begin, 0, stretch::kind::data});
            done = from + one.end;
            parts_.push_back({from + one.begin, done, 0, stretch::kind::lost});
            unread_ += one.end - one.begin;
        }
        if (done != to) parts_.push_back({done, to, 0, stretch::kind::data});
    }

    [[nodiscard]] std::size_t part_at(std::uint64_t position) const {
        return static_cast<std::size_t>(std::ranges::upper_bound(parts_, position, {}, &stretch::end) - parts_.begin());
    }

    // Moves `from` to the first place at or behind it where a chunk may start and whose byte lies in data. False when
    // there is none before `end`.
    [[nodiscard]] bool find_start(std::uint64_t& from, std::uint64_t end) const {
        const std::uint64_t step = starts_ == chunk_starts::at_pages ? page_size : 1;
        from = (from + step - 1) / step * step;
        while (from < end) {
            const stretch& part = parts_[part_at(from)];
            if (part.what == stretch::kind::data) return true;
            from = (part.end + step - 1) / step * step;
        }
        return false;
    }

    [[nodiscard]] std::uint64_t lost_behind(std::uint64_t from, std::uint64_t end) const {
        for (std::size_t i = part_at(from); i < parts_.size() && parts_[i].begin < end; ++i) {
            if (parts_[i].what == stretch::kind::lost) return parts_[i].begin;
        }
        return end;
    }

    static void fix_up_blocks(std::span<std::uint8_t> bytes) {
        for (std::size_t block = 0; bytes.size() - block >= page_size; block += page_size) {
            apply_update_sequence(bytes.subspan(block, page_size));
        }
    }

    volume_clusters& clusters_;
    const stream_plan& plan_;
    chunk_starts starts_;
    std::uint64_t chunk_size_;
    std::vector<std::uint8_t> bytes_;
    loss_list losses_;
    std::vector<stretch> parts_;  // of the window, in order and without a gap
    std::uint64_t begin_ = 0;
    std::uint64_t end_ = 0;
    std::uint64_t unread_ = 0;
};

bool pull_resident(const volume_clusters& clusters, const ntfs_stream& stream, const chunk_sink& sink) {
    clusters.log().line(format_text("info: data size 0x%llx", static_cast<unsigned long long>(stream.content.size())));
    if (stream.content.size() == 0) return false;
    sink(byte_view(stream.content.bytes(), 0));
    return true;
}

}  // namespace

bool pull_stream(volume_clusters& clusters, const ntfs_stream& stream, const chunk_sink& sink,
                 std::uint64_t& lost_bytes, chunk_starts starts) {
    if (stream.resident) return pull_resident(clusters, stream, sink);
    if (stream.extents.empty()) {
        clusters.log().line("err: no data");
        return false;
    }
    const std::uint64_t size = std::max(stream.real_size, stream.initialised_size);
    clusters.log().line(format_text("info: data size 0x%llx", static_cast<unsigned long long>(size)));
    if (stream.compressed) clusters.log().line("info: compressed stream, read as it lies");

    pull_extents(clusters, stream.extents, size, stream.type == attribute_type::index_allocation, sink, lost_bytes,
                 starts);
    return true;
}

void pull_extents(volume_clusters& clusters, const extent_list& extents, std::uint64_t size, bool index_blocks,
                  const chunk_sink& sink, std::uint64_t& lost_bytes, chunk_starts starts) {
    const stream_plan plan(clusters, extents, size);
    lost_bytes += plan.lost();
    window part(clusters, plan, starts);
    std::uint64_t at = 0;
    while (const stretch* next = plan.data_at_or_behind(at)) {
        at = std::max(at, next->begin / part.size() * part.size());
        lost_bytes += part.fill(at);
        part.hand_on(index_blocks, sink);
        at += part.size();
    }
}
