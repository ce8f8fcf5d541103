// journal/complete_carving.h: the scan of -complete for lost records: those of versions 2 and 3 at any multiple of 8
// bytes, of any entry number, also across two clusters. carving_scan.h has the scan of other runs.
#pragma once

#include "base/byte_view.h"
#include "journal/carving_scan.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// Serves all passes of a run. What stands in no free cluster, or in one of 4096 bytes and more, is whole in its piece.
class stray_scan {
public:
    // Adds the sound records of a piece whose image_offset is its place on the source, with the marks of the pass;
    // those beyond its entry bound, when it is not 0, as foreign ones. Where clusters are smaller than a page of the
    // journal, a record that began in the piece before, its neighbour on the source, is whole when by its own USN it
    // crosses no such page. `scratch` is overwritten.
    // `history`, unless it is null, is told of them too.
    void take(journal_collection& records, byte_view piece, const carving_pass& pass, journal_entry& scratch,
              gathered_history* history = nullptr);

private:
    [[nodiscard]] std::size_t take_crossing(journal_collection& records, byte_view piece, const carving_pass& pass,
                                            journal_entry& scratch, gathered_history* history);

    std::vector<std::uint8_t> joined_;  // bytes of earlier pieces, where a record may begin, then of the one behind
    std::uint64_t joined_end_ = 0;      // their place on the source
    record_origin origin_ = record_origin::journal;
};
