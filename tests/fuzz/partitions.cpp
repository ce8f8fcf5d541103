// Partition tables of every kind, the guess of what a partition holds, and the choice of the volume.
#include "fuzz_support.h"

#include "storage/partitions.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz_input in(data, size);
    const auto kind = in.number<std::uint8_t>();
    auto offset = static_cast<std::int64_t>(in.number<std::uint64_t>());
    const bytes image = in.rest();
    partition guessed;
    (void)guess_file_system(guessed, byte_view(image));
    disk_reader reader = reader_over(image, kind % 4 == 3 ? 4096 : kind % 4 == 2 ? 512 : 1, (kind & 4U) == 0);
    std::string messages;
    bool found = false;
    for (int attempt = 0; attempt < 2; ++attempt) {  // the second with what the first found
        (void)select_volume_offset(messages, reader, offset, (kind & 8U) != 0, found,
                                   (kind & 16U) != 0 ? table_sectors::by_content : table_sectors::by_signature);
    }
    return 0;
}
