// bench/ntfs_library.h: libntfs-3g for the makers of volumes. Its headers are C and not ours to warn about.
#pragma once

// Which those headers use and do not include.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include <sys/stat.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wcast-qual"
extern "C" {
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/lcnalloc.h>
#include <ntfs-3g/logging.h>
#include <ntfs-3g/volume.h>
}
#undef min
#undef max
#pragma GCC diagnostic pop
