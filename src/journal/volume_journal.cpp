#include "journal/volume_journal.h"

#include "base/format_text.h"
#include "ntfs/ntfs_volume.h"
#include "ntfs/stream_pull.h"

#include <algorithm>
#include <optional>

namespace {

constexpr std::u16string_view journal_path = u"\\$extend\\$usnjrnl:$j";
constexpr std::u16string_view journal_stream = u"$J";

// A data stream; one of that name with the type of an index allocation is read the same way.
bool find_journal_stream(const ntfs_volume& volume, const mft_entry& entry, ntfs_stream& stream) {
    const auto is_journal = [](const attribute& one) {
        return (one.type == attribute_type::data || one.type == attribute_type::index_allocation) &&
               one.name == journal_stream;
    };
    const auto first = std::ranges::find_if(entry.attributes, is_journal);
    return first != entry.attributes.end() &&
           collect_stream(entry, first->type, journal_stream, volume.cluster_size(), stream);
}

// The place on the source of a chunk's first byte. Records further in are reported at their distance from it, even
// where the chunk crosses into another run.
std::uint64_t place_on_source(const ntfs_volume& volume, const extent_list& journal_runs, std::uint64_t stream_offset) {
    const std::uint64_t cluster_size = volume.cluster_size();
    std::uint64_t offset = stream_offset;
    std::size_t index = 0;
    if (find_extent(journal_runs, stream_offset / cluster_size, index)) {
        const extent& part = journal_runs[index];
        const std::uint64_t lcn = part.sparse ? 0 : part.lcn + (stream_offset / cluster_size - part.vcn);
        offset = lcn * cluster_size + stream_offset % cluster_size;
    }
    if (volume.volume_offset() == 0) return offset;
    offset += volume.volume_offset();
    if (volume.log().enabled()) {
        volume.log().line(format_text("adjusted offset w/ volume: %08llx", static_cast<unsigned long long>(offset)));
    }
    return offset;
}

}  // namespace

journal_found read_volume_journal(ntfs_volume& volume, journal_intake& intake, progress& shown,
                                  const std::function<void()>& found) {
    run_meter& meter = intake.meter();
    const in_phase reading(meter, phase::read);
    mft_entry entry;
    const std::optional<std::uint64_t> number = volume.paths().find(journal_path, link_mode::stay);
    if (!number) return journal_found::no;
    if (!volume.load_entry(*number, entry)) return journal_found::unreadable;
    found();
    ntfs_stream stream;
    if (!find_journal_stream(volume, entry, stream)) {
        volume.log().line("err: no $J stream");
        return journal_found::yes;
    }
    const auto hand_on = [&](byte_view chunk) {
        intake.walk(byte_view(chunk.bytes(), place_on_source(volume, stream.extents, chunk.image_offset())),
                    chunk.image_offset());
        meter.count(phase::read, 0, chunk.size());
        shown.tell_bytes("reading", chunk.image_offset(), stream.real_size);
    };
    std::uint64_t lost_bytes = 0;
    if (!pull_stream(volume.clusters(), stream, hand_on, lost_bytes)) volume.log().line("err: nothing to pull from $J");
    intake.lose(1, lost_bytes);
    meter.count(phase::read, intake.records().size(), 0);
    return journal_found::yes;
}
