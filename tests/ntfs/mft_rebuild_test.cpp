#include "ntfs/mft_rebuild.h"

#include "ntfs/file_name.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

// A volume whose $MFT is gone. Records stand in clusters of their own, 1024 bytes each.
struct lost_mft {
    lost_mft() {
        made.build();
        made.write(made.offset_of_record(0), bytes(std::size_t{made.mft_clusters} * made.cluster_size));
    }
    void put(std::uint64_t lcn, std::uint32_t entry, std::u16string_view name, std::uint16_t sequence = 1,
             std::uint16_t flags = 1) {
        const made_record record{.attributes = {name_attribute(name, root_entry_number)},
                                 .flags = flags,
                                 .sequence = sequence,
                                 .number = entry};
        made.write(static_cast<std::size_t>(lcn) * made.cluster_size, record.build(1024));
    }
    ntfs_image_builder made;
};

std::string name_in_volume(opened_volume& opened, std::uint64_t entry) {
    mft_entry found;
    if (!opened.volume.load_entry(entry, found)) return "none";
    std::string text;
    for (const char16_t c : name_of_entry(found)) text += static_cast<char>(c);
    return text;
}

TEST(MftRebuild, TheBestCopyOfEachRecordWins) {
    lost_mft lost;
    lost.put(40, 50, u"old", 3);
    lost.put(41, 50, u"new", 4);
    lost.put(42, 50, u"older", 2);
    lost.put(43, 51, u"deleted", 3, 0);
    lost.put(44, 51, u"in use", 3);
    lost.put(45, 51, u"copy", 3);
    lost.put(46, 52, u"folder", 1, 3);
    for (std::uint32_t i = 0; i < 100; ++i) lost.put(60 + i, 0xFFFFFFFF - i, u"claims");
    lost.put(200, 53, u"unreadable");
    lost.put(204, 54, u"behind it");
    lost.put(240, 1023, u"last that the volume could hold");
    lost.put(241, 1024, u"first that it could not");
    opened_volume opened(lost.made.image);
    opened.faults.bad = {{200 * 4096 + 512, 200 * 4096 + 513}};
    EXPECT_FALSE(opened.volume.mount());
    EXPECT_TRUE(opened.volume.mft_damaged());

    std::string told;
    const rebuild_progress progress{
        .scanned = [&](std::uint64_t offset,
                       std::uint64_t size) { told += std::to_string(offset * 100 / size) + "% "; },
        .grown = [&](std::uint64_t records, std::uint64_t) { told += std::to_string(records) + " "; }};
    ASSERT_EQ(rebuild_mft(opened.volume, progress), rebuild_result::rebuilt);
    EXPECT_EQ(told, "5 100% ");  // one piece of a mebibyte: 50, 51, 52, 54, 1023
    EXPECT_EQ(opened.volume.record_count(), 1024U);
    EXPECT_EQ(name_in_volume(opened, 50), "new");
    EXPECT_EQ(name_in_volume(opened, 51), "in use");
    EXPECT_EQ(name_in_volume(opened, 53), "none");
    EXPECT_EQ(name_in_volume(opened, 54), "behind it");
    EXPECT_EQ(name_in_volume(opened, 1023), "last that the volume could hold");
    EXPECT_EQ(name_in_volume(opened, 1024), "none");
    EXPECT_EQ(name_in_volume(opened, 0), "none");
    EXPECT_NE(opened.said.find("path of inode: 0x34 : [root]\\folder\n"), std::string::npos);
}

}  // namespace
