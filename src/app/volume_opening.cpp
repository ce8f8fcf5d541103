#include "app/volume_opening.h"

#include "ntfs/mft_rebuild.h"
#include "ntfs/ntfs_volume.h"

#include <utility>

namespace {

bool rebuild(ntfs_volume& volume, const run_console& console) {
    const rebuild_result result = rebuild_mft(volume, console.shown);
    if (result == rebuild_result::unreadable) console.status.report_problem("prob reading disk at offset 0\n");
    return result == rebuild_result::rebuilt;
}

}  // namespace

std::unique_ptr<ntfs_volume> open_volume(const journal_source& source, disk_reader image, const reading_settings& asked,
                                         const run_console& console, bool& mft_damaged) {
    mft_damaged = false;
    auto volume = std::make_unique<ntfs_volume>(console.log);
    if (asked.complete) volume->take_records(record_sizes::all);
    if (image.is_open()) {
        volume->open_volume(std::move(image), source.volume_offset);
    } else if (!volume->open_volume(source.path, source.mode, source.volume_offset)) {
        return nullptr;
    }
    if (asked.rebuild_mft ? rebuild(*volume, console) : volume->mount()) return volume;
    mft_damaged = volume->mft_damaged();
    return nullptr;
}

void report_damaged_mft(bool mft_damaged, uni::status_line& status) {
    if (mft_damaged) status.report_problem("%s", damaged_mft_message);
}
