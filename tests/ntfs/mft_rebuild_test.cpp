#include "ntfs/mft_rebuild.h"

#include "base/utf.h"
#include "ntfs/file_name.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

// Records stand in clusters of their own on a volume whose $MFT is gone.
TEST(MftRebuild, TheBestCopyOfEachRecordWins) {
    ntfs_image_builder made;
    made.build().write(made.offset_of_record(0), bytes(std::size_t{made.mft_clusters} * made.cluster_size));
    const auto put = [&made](std::size_t lcn, std::uint32_t entry, std::u16string_view name, std::uint16_t sequence = 1,
                             std::uint16_t flags = 1) {
        const std::vector<made_attribute> names{name_attribute(name, root_entry_number)};
        made.write(lcn * made.cluster_size,
                   made_record{.attributes = names, .flags = flags, .sequence = sequence, .number = entry}.build(1024));
    };
    put(40, 50, u"old", 3);
    put(41, 50, u"new", 4);
    put(42, 50, u"older", 2);
    put(43, 51, u"deleted", 3, 0);
    put(44, 51, u"in use", 3);
    put(45, 51, u"copy", 3);
    put(46, 52, u"folder", 1, 3);
    for (std::uint32_t i = 0; i < 100; ++i) put(60 + i, 0xFFFFFFFF - i, u"claims");
    put(200, 53, u"unreadable");
    put(204, 54, u"behind it");
    put(240, 1023, u"last that the volume could hold");
    put(241, 1024, u"first that it could not");
    opened_volume opened(made.image);
    opened.faults.bad = {{200 * 4096 + 512, 200 * 4096 + 513}};
    EXPECT_FALSE(opened.volume.mount());
    EXPECT_TRUE(opened.volume.mft_damaged());

    std::string told;
    progress shown;
    shown.show_with([&](std::string_view text) { told.append(text).append("; "); }, nullptr);
    ASSERT_EQ(rebuild_mft(opened.volume, shown), rebuild_result::rebuilt);
    EXPECT_EQ(told, "inode count 5, offset 0x0; percent done: 100; ");  // one piece of a mebibyte: 50, 51, 52, 54, 1023
    EXPECT_EQ(opened.volume.mft().record_count(), 1024U);
    std::string names;
    for (const std::uint64_t entry : {0U, 50U, 51U, 53U, 54U, 1023U, 1024U}) {
        mft_entry found;
        names += opened.volume.load_entry(entry, found) ? to_utf8(name_of_entry(found)) + "; " : "none; ";
    }
    EXPECT_EQ(names, "none; new; in use; none; behind it; last that the volume could hold; none; ");
    EXPECT_NE(opened.said.find("path of inode: 0x34 : [root]\\folder\n"), std::string::npos);
}
