// journal/carving_scan.h: finds version-2 records in bytes that no structure points at any more: at the start of a
// 4096-byte block, and in unbroken chains behind such a start.
#pragma once

#include "base/byte_view.h"
#include "journal/journal_collection.h"
#include "journal/journal_entry.h"

#include <cstdint>
#include <string>

class gathered_history;

// The pass that carves, and what it puts on its records.
struct carving_pass {
    record_origin origin = record_origin::unallocated;
    std::uint64_t entry_bound = 0;   // entry numbers of its records are below it
    std::string label;               // of the shadow copy
    std::uint32_t cluster_size = 0;  // bytes, where the pieces are clusters of which one may continue in the next
};

// Adds what passes every check under the pass's entry bound, with the marks of the pass. `chunk`: its image_offset is
// the place on the source. `scratch` is overwritten. `history`, unless it is null, is told of them too.
void carve_chunk(journal_collection& records, byte_view chunk, const carving_pass& pass, journal_entry& scratch,
                 gathered_history* history = nullptr);
