#include "ntfs/ntfs_volume.h"

#include <utility>

bool ntfs_volume::open_volume(const std::string& path, reader_mode mode, std::uint64_t volume_offset) {
    disk_reader opened;
    if (!opened.open(path, mode)) return false;
    open_volume(std::move(opened), volume_offset);
    return true;
}

void ntfs_volume::open_volume(disk_reader reader, std::uint64_t volume_offset) {
    clusters_.open(std::move(reader), volume_offset);
    mft_.close();
    paths_.forget();
}

bool ntfs_volume::open_mft_file(const std::string& path) {
    disk_reader opened;
    return opened.open(path, reader_mode::image_file) && open_mft_file(std::move(opened));
}

bool ntfs_volume::open_mft_file(disk_reader reader) {
    clusters_.open_without_clusters(std::move(reader));
    mft_.close();
    paths_.forget();
    return mft_.mount_export();
}

bool ntfs_volume::mount() {
    if (mft_.mounted()) return true;
    return clusters_.reader().is_open() && clusters_.readable() && clusters_.read_geometry() && mft_.mount();
}
