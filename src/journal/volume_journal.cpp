#include "journal/volume_journal.h"

#include "base/format_text.h"
#include "ntfs/ntfs_volume.h"
#include "ntfs/stream_pull.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace {

constexpr std::u16string_view journal_stream = u"$J";

// A data stream; one of that name with the type of an index allocation is read the same way. `holder`: the entry whose
// record it stands in.
bool find_journal_stream(const ntfs_volume& volume, const mft_entry& entry, ntfs_stream& stream,
                         std::uint64_t& holder) {
    const auto is_journal = [](const attribute& one) {
        return (one.type == attribute_type::data || one.type == attribute_type::index_allocation) &&
               one.name == journal_stream;
    };
    const auto first = std::ranges::find_if(entry.attributes, is_journal);
    if (first == entry.attributes.end()) return false;
    holder = first->holder;
    return collect_stream(entry, first->type, journal_stream, volume.cluster_size(), stream);
}

// The place on the source of a byte of the stream.
std::uint64_t place_on_source(const ntfs_volume& volume, const extent_list& journal_runs, std::uint64_t stream_offset) {
    const std::uint64_t cluster_size = volume.cluster_size();
    std::uint64_t offset = stream_offset;
    std::size_t index = 0;
    if (find_extent(journal_runs, stream_offset / cluster_size, index)) {
        const extent& part = journal_runs[index];
        const std::uint64_t lcn = part.sparse ? 0 : part.lcn + (stream_offset / cluster_size - part.vcn);
        offset = lcn * cluster_size + stream_offset % cluster_size;
    }
    return offset + volume.volume_offset();
}

// Hands the chunks of one stream to the intake, each with its place.
class placed_chunks {
public:
    placed_chunks(ntfs_volume& volume, const ntfs_stream& stream, std::uint64_t holder, journal_intake& intake)
        : volume_(volume), stream_(stream), holder_(holder), intake_(intake) {}

    void hand_on(byte_view chunk) {
        if (intake_.complete()) {
            find_parts(chunk);
        } else {
            // Records further in are reported at their distance from the first byte, even where the chunk crosses into
            // another run.
            parts_.assign(1, {.begin = 0, .offset = place_on_source(volume_, stream_.extents, chunk.image_offset())});
        }
        if (volume_.volume_offset() != 0 && volume_.log().enabled()) {
            volume_.log().line(format_text("adjusted offset w/ volume: %08llx",
                                           static_cast<unsigned long long>(parts_.front().offset)));
        }
        intake_.walk(chunk, parts_);
    }

private:
    void find_parts(byte_view chunk) {
        parts_.clear();
        if (stream_.resident) {
            const std::uint64_t record = volume_.record_offset(holder_).value_or(0) + volume_.volume_offset();
            parts_.push_back({.begin = 0, .offset = record + stream_.content.image_offset()});
            return;
        }
        const std::uint64_t begin = chunk.image_offset();
        const std::uint64_t cluster_size = volume_.cluster_size();
        const extent_list& extents = stream_.extents;
        for (std::uint64_t at = 0; at < chunk.size();) {
            const std::uint64_t place = begin + at;
            parts_.push_back(
                {.begin = static_cast<std::size_t>(at), .offset = place_on_source(volume_, extents, place)});
            const std::size_t index = extent_at_or_behind(extents, place / cluster_size);
            if (index == extents.size()) break;
            const extent& part = extents[index];
            const std::uint64_t end = part.vcn > place / cluster_size ? part.vcn : part.end_vcn();
            if (end > (begin + chunk.size()) / cluster_size) break;
            at = end * cluster_size - begin;
        }
    }

    ntfs_volume& volume_;
    const ntfs_stream& stream_;
    std::uint64_t holder_;  // the entry whose record a resident stream stands in
    journal_intake& intake_;
    std::vector<placed_part> parts_;
};

journal_found walk_journal(ntfs_volume& volume, journal_intake& intake, progress& shown,
                           const std::function<void()>& found) {
    run_meter& meter = intake.meter();
    const in_phase reading(meter, phase::read);
    mft_entry entry;
    const std::optional<std::uint64_t> number = volume.paths().find(journal_path, link_mode::stay);
    if (!number) return journal_found::no;
    if (!volume.load_entry(*number, entry)) return journal_found::unreadable;
    found();
    ntfs_stream stream;
    std::uint64_t holder = 0;
    if (!find_journal_stream(volume, entry, stream, holder)) {
        volume.log().line("err: no $J stream");
        return journal_found::yes;
    }
    placed_chunks chunks(volume, stream, holder, intake);
    const auto hand_on = [&](byte_view chunk) {
        chunks.hand_on(chunk);
        meter.count(phase::read, 0, chunk.size());
        shown.tell_bytes("reading", chunk.image_offset(), stream.real_size);
    };
    std::uint64_t lost_bytes = 0;
    const auto starts = intake.complete() ? chunk_starts::at_data : chunk_starts::at_pages;
    if (!pull_stream(volume.clusters(), stream, hand_on, lost_bytes, starts)) {
        volume.log().line("err: nothing to pull from $J");
    }
    intake.lose(1, lost_bytes);
    meter.count(phase::read, intake.records().size(), 0);
    return journal_found::yes;
}

}  // namespace

journal_found read_volume_journal(ntfs_volume& volume, journal_intake& intake, progress& shown,
                                  const std::function<void()>& found) {
    const journal_found result = walk_journal(volume, intake, shown, found);
    intake.end_walk();
    return result;
}
