#include "ntfs/opened_volume.h"

#include <gtest/gtest.h>

TEST(BootSector, GivesSizesOrTheReasonForRefusingThem) {
    using namespace boot_sector;
    const auto expect = [](std::size_t at, unsigned value, const char* expected) {
        const bytes sector = poked(ntfs_image_builder{}.build().image, at, static_cast<std::uint8_t>(value));
        volume_geometry found;
        std::string outcome;
        if (read_boot_sector(byte_view(sector), found, outcome)) {
            outcome = std::to_string(found.bytes_per_sector) + "/" + std::to_string(found.cluster_size) + "/" +
                      std::to_string(found.record_size);
            EXPECT_EQ(found.total_clusters, 2048 / (found.cluster_size / found.bytes_per_sector));
        }
        EXPECT_EQ(outcome, expected);
    };
    expect(0, 0, "512/4096/1024");
    expect(clusters_per_record, 2, "512/4096/8192");
    expect(clusters_per_record, 0xF0, "512/4096/65536");
    expect(clusters_per_record, 0xFB, "boot sector: MFT record size: 32");
    for (const unsigned value : {0U, 0x80U}) expect(clusters_per_record, value, "boot sector: MFT record size: 0");
    expect(sectors_per_cluster, 0xF4, "512/2097152/1024");
    expect(sectors_per_cluster, 0xF3, "boot sector: cluster size: 4194304");
    for (const unsigned value : {0U, 0x81U}) expect(sectors_per_cluster, value, "boot sector: cluster size: 0");
    expect(bytes_per_sector + 1, 0x10, "4096/32768/1024");
    expect(bytes_per_sector, 1, "boot sector: bytes per sector: 513");
    expect(oem_identifier + 7, 0, "boot sector is not NTFS");
}

TEST(Fixup, RefusesRecordsThatAreNotWellFormed) {
    // At its edge and one step outside: the array's place, its count, the first attribute.
    for (const auto& [at, inside, outside] :
         {std::tuple<std::size_t, int, int>{4, 42, 50}, {6, 9, 10}, {0x14, 72, 80}}) {
        for (const int value : {inside, outside}) {
            bytes record = poked(made_record{}.build(1024), at, static_cast<std::uint16_t>(value));
            EXPECT_EQ(apply_fixup(record), value == inside ? record_kind::file_record : record_kind::none) << at;
        }
    }
}

TEST(Fixup, TakesLargeRecordsWhenAsked) {
    for (const std::uint32_t size : {4096U, 8192U, 65536U}) {
        ntfs_image_builder made{.record_size = size, .clusters = 1024, .mft_clusters = 400};
        made.build();
        made.put(20, {.attributes = {name_attribute(u"far")}, .sequence = 7});
        for (const record_sizes sizes : {record_sizes::usual, record_sizes::all}) {
            opened_volume opened(made.image);
            opened.volume.take_records(sizes);
            EXPECT_EQ(opened.volume.mount(), size == 4096 || sizes == record_sizes::all);
            mft_entry entry;
            const bool loaded = opened.volume.load_entry(20, entry);
            EXPECT_TRUE(sizes == record_sizes::usual ||
                        (loaded && entry.sequence == 7 && entry.attributes.size() == 1));
        }
    }
    bytes wrong = made_record{}.build(8192);
    poke<std::uint16_t>(wrong, 0x14, 96);  // its array ends at 82
    EXPECT_EQ(apply_fixup(wrong, record_sizes::all), record_kind::none);
}
