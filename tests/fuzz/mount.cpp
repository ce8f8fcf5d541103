// A boot sector and what it says of the $MFT: mounted, and rebuilt.
#include "fuzz_support.h"

#include "ntfs/mft_rebuild.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint8_t>();
    const std::uint32_t alignment = kind % 4 == 3 ? 4096 : kind % 4 == 2 ? 512 : 1;
    const std::uint64_t volume_offset = (kind / 4 % 8) * std::uint64_t{512};
    bytes image(volume_offset);
    append(image, in.rest());
    settle_sequences(image);
    progress shown = shown_progress();
    for (const bool rebuilt : {false, true}) {
        ntfs_volume volume(fuzz_log());
        volume.open_volume(reader_over(image, alignment, (kind & 0x20U) == 0), volume_offset);
        if (rebuilt ? rebuild_mft(volume, shown) != rebuild_result::rebuilt : !volume.mount()) continue;
        mft_entry entry;
        for (const std::uint64_t number : {0ULL, 1ULL, 2ULL, 15ULL, 0xFFFFFFFFULL, 0xFFFFFFFFFFFFULL}) {
            (void)volume.record_offset(number);
            (void)volume.load_entry(number, entry);
        }
    }
    return 0;
}
