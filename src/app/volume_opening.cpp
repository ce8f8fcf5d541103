#include "app/volume_opening.h"

#include "ntfs/mft_rebuild.h"
#include "ntfs/ntfs_volume.h"

namespace {

using ull = unsigned long long;

bool rebuild(ntfs_volume& volume, bool progress, uni::status_line& status) {
    rebuild_progress told;
    if (progress) {
        told.scanned = [&status](std::uint64_t offset, std::uint64_t size) { status.show_percent(offset, size); };
        told.grown = [&status](std::uint64_t records, std::uint64_t offset) {
            status.show_status("inode count %lld, offset 0x%0llx\n", static_cast<long long>(records),
                               static_cast<ull>(offset));
        };
    }
    const rebuild_result result = rebuild_mft(volume, told);
    if (result == rebuild_result::unreadable) status.report_problem("prob reading disk at offset 0\n");
    return result == rebuild_result::rebuilt;
}

}  // namespace

std::shared_ptr<ntfs_volume> open_volume_at(const std::string& path, reader_mode mode, std::uint64_t volume_offset,
                                            const usnjrnl_context& settings, uni::status_line& status,
                                            const diagnostic_log& log, bool& mft_damaged) {
    mft_damaged = false;
    auto volume = std::make_shared<ntfs_volume>(log);
    if (!volume->open_volume(path, mode, volume_offset)) return nullptr;
    if (settings.rebuild_mft ? rebuild(*volume, settings.progress, status) : volume->mount()) return volume;
    mft_damaged = volume->mft_damaged();
    return nullptr;
}

void report_damaged_mft(bool mft_damaged, uni::status_line& status) {
    if (mft_damaged) status.report_problem("%s", damaged_mft_message);
}
