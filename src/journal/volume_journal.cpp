#include "journal/volume_journal.h"

#include "journal/chunk_receiver.h"
#include "journal/journal_collection.h"
#include "ntfs/ntfs_volume.h"
#include "ntfs/stream_pull.h"

#include <algorithm>

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

}  // namespace

bool read_volume_journal(ntfs_volume& volume, usnjrnl_context& run, const std::function<void()>& found) {
    const in_phase reading(*run.meter, phase::read);
    mft_entry entry;
    const std::optional<std::uint64_t> number = volume.paths().find(journal_path, link_mode::stay);
    if (!number || !volume.load_entry(*number, entry)) return false;
    found();
    ntfs_stream stream;
    if (!find_journal_stream(volume, entry, stream)) {
        volume.log().line("err: no $J stream");
        return true;
    }
    chunk_receiver receiver(run, volume, stream.extents);
    const auto hand_on = [&](byte_view chunk) {
        receiver.on_journal_chunk(chunk);
        run.meter->count(phase::read, 0, chunk.size());
        run.meter->tell_bytes("reading", chunk.image_offset(), stream.real_size);
    };
    if (!pull_stream(volume.clusters(), stream, hand_on, run.lost_bytes))
        volume.log().line("err: nothing to pull from $J");
    run.meter->count(phase::read, run.journal->size(), 0);
    return true;
}
