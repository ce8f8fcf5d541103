// storage/gpt.h: the GUID partition table: a header, and where that says an array of entries. Called by
// read_partitions.
#pragma once

#include "storage/disk_reader.h"
#include "storage/partition.h"

#include <cstdint>

// Adds the partitions of a disk whose protective record was found under sectors of `sector_size` bytes. The first entry
// that cannot be read, or whose partition cannot, ends the walk: behind the end of an image there is nothing to be
// found.
void read_gpt(disk_reader& reader, std::uint32_t sector_size, partition_list& list);
