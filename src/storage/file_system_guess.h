// storage/file_system_guess.h: what a partition holds, told from its first bytes; the type byte of its table is often
// wrong, and a GPT has none. Called by partition detection and the offset selection.
#pragma once

#include "base/byte_view.h"
#include "storage/partition.h"

// Where the superblock of an ext volume lies, and its length.
inline constexpr std::size_t ext_superblock = 1024;
inline constexpr std::size_t ext_superblock_size = 1024;

// Takes over what the file system itself says of the partition: the type, for FAT, exFAT, NTFS and BitLocker the sector
// size and, for FAT32 always and for the others when it is not known yet, the number of sectors. False, and nothing
// changed, when fewer than 512 bytes are there or no file system is recognised.
bool guess_file_system(partition& found, byte_view first_bytes);

// Whether the sector at a byte offset names itself an NTFS boot sector.
[[nodiscard]] bool is_ntfs_at(disk_reader& reader, std::uint64_t offset);

[[nodiscard]] bool has_ext_superblock(byte_view volume);
