// bench/ntfs_library.h: libntfs-3g for the makers of volumes, and what all of them do with it. Its headers are C and
// not ours to warn about.
#pragma once

// Which those headers use and do not include.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

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

inline void demand(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}

template <auto close>
struct closer {
    template <class T>
    void operator()(T* opened) const {
        close(opened);
    }
};
using inode_handle = std::unique_ptr<ntfs_inode, closer<ntfs_inode_close>>;
using stream_handle = std::unique_ptr<ntfs_attr, closer<ntfs_attr_close>>;
using search_handle = std::unique_ptr<ntfs_attr_search_ctx, closer<ntfs_attr_put_search_ctx>>;

// A name as the library takes it: its units are 16-bit numbers of another type.
// NOLINTBEGIN(cppcoreguidelines-pro-type-reinterpret-cast)
inline ntfschar* units(std::u16string& name) { return reinterpret_cast<ntfschar*>(name.data()); }
inline const ntfschar* units(std::u16string_view name) { return reinterpret_cast<const ntfschar*>(name.data()); }
// NOLINTEND(cppcoreguidelines-pro-type-reinterpret-cast)
inline u8 count(std::u16string_view name) { return static_cast<u8>(name.size()); }

// `options` of mkntfs. The caller closes the volume.
inline ntfs_volume* make_empty_volume(const std::string& image, s64 size, const std::string& options) {
    std::ofstream(image, std::ios::binary | std::ios::trunc).close();
    demand(truncate(image.c_str(), size) == 0, image + " cannot be written");
    const std::string command =
        "PATH=/usr/sbin:/sbin:$PATH exec mkntfs -F -Q -q -T -p 0 -H 0 -S 0 " + options + " '" + image + "' 2>/dev/null";
    // NOLINTNEXTLINE(cert-env33-c): whoever makes a volume chose the path that the shell sees
    demand(std::system(command.c_str()) == 0, "mkntfs failed");
    ntfs_volume* const volume = ntfs_mount(image.c_str(), 0);
    demand(volume != nullptr, "the library does not open the volume");
    return volume;
}

// The attribute leaves the base record for one of its own.
inline void move_out(ntfs_inode* file, ATTR_TYPES type, std::u16string name) {
    demand(ntfs_inode_add_attrlist(file) == 0, "no attribute list");
    const search_handle found(ntfs_attr_get_search_ctx(file, nullptr));
    demand(found && ntfs_attr_lookup(type, units(name), count(name), CASE_SENSITIVE, 0, nullptr, 0, found.get()) == 0 &&
               ntfs_attr_record_move_away(found.get(), 0) == 0,
           "an attribute cannot be moved");
}

// A stream of a file; a new one is added with its first content.
inline stream_handle open_stream(ntfs_inode* file, ATTR_TYPES type, std::u16string name) {
    stream_handle opened(ntfs_attr_open(file, type, units(name), count(name)));
    demand(opened != nullptr, "a stream cannot be opened");
    return opened;
}
inline stream_handle add_stream(ntfs_inode* file, std::u16string name, std::basic_string<u8> content = {}) {
    demand(ntfs_attr_add(file, AT_DATA, units(name), count(name), content.data(), std::ssize(content)) == 0,
           "a stream cannot be made");
    return open_stream(file, AT_DATA, std::move(name));
}
