// journal/carving_scan.h: finds version-2 records in bytes that no structure points at any more: at the start of a
// 4096-byte block, and in unbroken chains behind such a start.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/byte_view.h"
#include "journal/journal_entry.h"

// Adds what passes every check under the run's entry bound to the run's collection, with the mark of the active pass.
// `chunk`: its image_offset is the place on the source. True when the collection grew. `scratch` is overwritten.
bool carve_chunk(usnjrnl_context& run, byte_view chunk, journal_entry& scratch);
