#include "journal/chunk_receiver.h"

#include "base/format_text.h"
#include "journal/carving_scan.h"
#include "journal/journal_collection.h"
#include "journal/journal_walk.h"
#include "journal/usn_record.h"
#include "ntfs/ntfs_volume.h"

bool chunk_receiver::on_journal_chunk(byte_view chunk) {
    if (volume_ != nullptr) chunk = byte_view(chunk.bytes(), reported_offset(chunk.image_offset()));
    if (!scan_chunk(chunk)) return false;
    run_.found_something = true;
    return true;
}

// The place on the source of the chunk's first byte. Records further in are reported at their distance from it, even
// where the chunk crosses into another run.
std::uint64_t chunk_receiver::reported_offset(std::uint64_t stream_offset) const {
    const std::uint64_t cluster_size = volume_->cluster_size();
    std::uint64_t offset = stream_offset;
    std::size_t index = 0;
    if (find_extent(*journal_runs_, stream_offset / cluster_size, index)) {
        const extent& part = (*journal_runs_)[index];
        const std::uint64_t lcn = part.sparse ? 0 : part.lcn + (stream_offset / cluster_size - part.vcn);
        offset = lcn * cluster_size + stream_offset % cluster_size;
    }
    if (volume_->volume_offset() == 0) return offset;
    offset += volume_->volume_offset();
    if (volume_->log().enabled()) {
        volume_->log().line(format_text("adjusted offset w/ volume: %08llx", static_cast<unsigned long long>(offset)));
    }
    return offset;
}

bool chunk_receiver::scan_chunk(byte_view chunk) {
    if (run_.journal == nullptr || chunk.size() < usn_v2::fixed_size) return false;
    const bool carving = run_.active_pass != carving_pass::none;
    const phase now = carving ? phase::carve : phase::decode;
    const in_phase during(*run_.meter, now);
    const std::size_t before = run_.journal->size();
    const bool found = carving ? carve_chunk(run_, chunk, scratch_) : walk_chunk(*run_.journal, chunk, scratch_);
    run_.meter->count(now, run_.journal->size() - before, chunk.size());
    return found;
}
