// storage/extended_chain.h: the logical partitions of an extended one: a chain of boot records, each with its own
// partitions and the place of the next record. Called by read_partitions.
#pragma once

#include "storage/disk_reader.h"
#include "storage/partition.h"

#include <cstdint>

// Adds what the chain that begins at sector `first` names, links included, and after the first record's own entries an
// NTFS volume that stands where the first partition of old disks begins, whether a table names it or not.
void follow_extended_chain(disk_reader& reader, std::uint64_t first, std::uint32_t sector_size, partition_list& list);
