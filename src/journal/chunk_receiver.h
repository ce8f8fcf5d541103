// journal/chunk_receiver.h: the one callback that every source hands its chunks to: it fixes the offset that is
// reported for the chunk's records and has them walked into the run's collection.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/byte_view.h"
#include "journal/journal_entry.h"
#include "ntfs/data_runs.h"

class ntfs_volume;

class chunk_receiver {
public:
    // For an extracted file, and for the carving passes, which know the place on the source: offsets are reported as
    // they are.
    explicit chunk_receiver(usnjrnl_context& run) : run_(run) {}

    // For the $J stream of a volume with these extents (none: it is resident). Both must outlive the receiver.
    chunk_receiver(usnjrnl_context& run, const ntfs_volume& volume, const extent_list& journal_runs)
        : run_(run), volume_(&volume), journal_runs_(&journal_runs) {}

    // `chunk`: its image_offset is the offset in the stream or file. True when it held entries.
    bool on_journal_chunk(byte_view chunk);

private:
    [[nodiscard]] std::uint64_t reported_offset(std::uint64_t stream_offset) const;
    [[nodiscard]] bool scan_chunk(byte_view chunk);

    usnjrnl_context& run_;
    const ntfs_volume* volume_ = nullptr;
    const extent_list* journal_runs_ = nullptr;
    journal_entry scratch_;
};
