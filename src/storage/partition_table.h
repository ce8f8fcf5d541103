// storage/partition_table.h: the partitions of a disk, whatever table names them: a master boot record with its
// extended chain, a GPT, or none because the image is one bare volume. Called by the offset selection, in two passes.
#pragma once

#include "storage/disk_reader.h"
#include "storage/partition.h"

// Fills `list` anew. The first pass goes by the first sector; the second (`scan`) takes the first boot record found in
// the megabyte behind it for the head of an extended chain, and does not look into the partitions. True when the list
// is not empty.
[[nodiscard]] bool read_partitions(disk_reader& reader, partition_list& list, bool scan);
