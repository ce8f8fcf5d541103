#include "support/disk_image_builder.h"

#include <gtest/gtest.h>

namespace {

const std::string cut_short = " is a NTFS partition, however image size does not encapsulate entire volume\n";
std::string offered(const std::string& at) {
    return "volume offset [ " + at + " ] : ntfs or exfat\nuse option [-offset " + at + "]\n";
}
const std::string nothing = "no 0\ncouldn't find any partitions on disk\n";

TEST(Partitions, LogicalOnesHangInAChain) {
    test_image image(0x20000);
    image.boot_record(0).entry(0, 0, 7, 63, 1).entry(0, 1, 0x0F, 100, 150).ntfs(0x7E00, 1);
    image.entry(0xC800, 0, 7, 1, 10).entry(0xC800, 1, 5, 20, 20).entry(0xC800, 2, 7, 2, 1);
    image.boot_record(0xF000).entry(0xF000, 0, 5, 40, 20).entry(0xF000, 1, 0x83, 2, 5);
    image.entry(0xF000, 2, 0x99, 3, 1).entry(0xF000, 3, 7, 5, 5);  // behind an unknown one nothing is believed
    image.boot_record(0x11800).entry(0x11800, 0, 6, 1, 3).entry(0x11800, 1, 5, 20, 20);  // back to 0xF000
    const std::string head =
        "volume offset [ 0x7e00 ] : ntfs or exfat\nvolume offset [ 0xc800 ] : exten\n"
        "volume offset [ 0xca00 ] : ntfs or exfat\nvolume offset [ 0xf000 ] : exten\n"
        "volume offset [ 0x7e00 ] : ntfs or exfat\n";
    const std::string chain =
        "volume offset [ 0xf400 ] : linux\nvolume offset [ 0x11800 ] : exten\n"
        "volume offset [ 0x11a00 ] : fat\nvolume offset [ 0xf000 ] : exten\n";
    EXPECT_EQ(image.select(), "no 32256 found\n" + head + chain + "use option [-offset 0x7e00]\n");
    EXPECT_EQ(image.select(0xCA00), "ok 51712 found\n");
    image.put<std::uint16_t>(0xF000 + 510, 0);  // no boot record any more
    EXPECT_EQ(image.select(), "no 32256 found\n" + head + "use option [-offset 0x7e00]\n");
}

TEST(Partitions, AreCountedInTheSectorsThatLeadToThem) {
    test_image image(0x40000);
    image.boot_record(0).entry(0, 0, 7, 2, 4).ntfs(0x2000, 4, 4096).entry(0, 1, 5, 8, 16);
    image.boot_record(0x8000).entry(0x8000, 0, 7, 1, 8).ntfs(0x9000, 8, 4096);
    const auto by_content = [&](std::int64_t offset) {
        return image.select(offset, false, table_sectors::by_content).substr(0, 2);
    };
    EXPECT_EQ(image.select(0x2000).substr(0, 2), "no");
    EXPECT_EQ(by_content(0x2000), "ok");
    EXPECT_EQ(by_content(0x9000), "ok");
    image.ntfs(0x400, 4);  // where sectors of 512 bytes lead
    EXPECT_EQ(by_content(0x2000), "no");
    EXPECT_EQ(by_content(0x400), "ok");
}

TEST(Partitions, PrimariesBehindAnExtendedOneAreNotListed) {
    test_image image(0x20000);
    image.boot_record(0).entry(0, 0, 0x0F, 100, 50).entry(0, 1, 7, 16, 8).ntfs(0x2000, 7);
    EXPECT_EQ(image.select(0x2000), "no 8192\nvolume offset [ 0xc800 ] : exten\nprob detecting ntfs partition\n");
}

TEST(Partitions, AreScannedForWhenTheFirstSectorIsBlank) {
    test_image image(0x20000);
    image.ntfs(0x1400, 1).boot_record(0x8000).entry(0x8000, 0, 7, 2, 10);
    image.faults.bad = {{0x2800, 0x2A00}};
    const std::string questionable = "disk is corrupted, partition info questionable\n";
    const std::string listed = "volume offset [ 0x8400 ] : ntfs or exfat\n";
    EXPECT_EQ(image.select(), "no 33792 found\n" + questionable + offered("0x8400"));
    image.boot_record(0).ntfs(0x7E00, 1);  // an empty table is no better than none
    EXPECT_EQ(image.select(), "no 33792 found\n" + questionable + listed +
                                  "volume offset [ 0x7e00 ] : empty [guess]\n" + "use option [-offset 0x8400]\n");
    image.entry(0x8000, 1, 0x27, 0, 0);
    EXPECT_EQ(image.select(), "no 32256 found\n" + questionable + listed +
                                  "volume offset [ 0x7e00 ] : hidden ntfs [guess]\nuse option [-offset 0x7e00]\n");
    EXPECT_EQ(test_image(0x20000).select(), nothing);
    EXPECT_EQ(test_image(0).select(), nothing);
    EXPECT_EQ(test_image(0x100200).boot_record(0x100000).entry(0x100000, 0, 6, 0, 1).select(),
              "no 0\n" + questionable + "volume offset [ 0x100000 ] : fat\nprob detecting ntfs partition\n");
}

TEST(Partitions, ABareVolumeHasNone) {
    const auto ntfs = [](std::uint64_t sectors, std::uint16_t size) {
        return test_image(0x2000).ntfs(0, sectors, size);
    };
    const auto named = [](const std::string& oem) { return test_image(0x2000).text(3, oem); };
    const auto refused = [](const std::string& name) {
        return "no 0\nvolume offset selected 0x0 is not a NTFS partition, but [" + name +
               "]\nvolume offset [ 0x0 ] : " + name + "\nprob detecting ntfs partition\n";
    };
    const std::string accepted = "ok 0 found\n";
    const std::string refused_size = "no 0 found\nvolume offset 0x0" + cut_short;
    EXPECT_EQ(ntfs(15, 512).select(), accepted);
    EXPECT_EQ(ntfs(15, 512).select(0x2001), "no 8193\nvolume offset 0x2001 is not within image bounds\n");
    EXPECT_EQ(ntfs(15, 512).select(-1), "no -1\nvolume offset 0xffffffffffffffff is not within image bounds\n");
    EXPECT_EQ(ntfs(17, 512).select(), refused_size);
    EXPECT_EQ(ntfs(17, 512).select(0, true), accepted);
    EXPECT_EQ(ntfs(std::uint64_t{1} << 55U, 512).select(), refused_size);  // 2^64 bytes
    EXPECT_EQ(ntfs(3, 4096).select(), refused_size);
    for (const unsigned shift : {9U, 12U, 40U}) {  // 2^40 bytes are no sector
        auto image = named("EXFAT   ").put<std::uint64_t>(0x6C, shift).put<std::uint64_t>(0x48, 3);
        EXPECT_EQ(image.select(), shift == 12 ? refused_size : accepted);
    }
    EXPECT_EQ(named("MSDOS5.0").text(0x36, "FAT16").select(), refused("fat16"));
    EXPECT_EQ(named("MSDOS5.0").select(), refused("empty"));
    EXPECT_EQ(test_image(0x2000).put<std::uint32_t>(1028, 64).put<std::uint16_t>(1080, 0xEF53).select(),
              "no 0\nvolume offset [ 0x400 ] : linux\nprob detecting ntfs partition\n");
}

TEST(Partitions, GuidTable) {
    test_image image(0x40000);
    image.boot_record(0).gpt(0x200, 0xFFFFFFFF, 256);
    image.gpt_entry(0x400, 128, 143).ntfs(0x10000, 15);
    image.gpt_entry(0x600, 160, 164).put<std::uint16_t>(0x14000 + 1080, 0xEF53);
    image.gpt_entry(0x700, 176, 183).text(0x16000 + 1024, "H+");
    image.gpt_entry(0x800, 184, 191).text(0x17000 + 1024, "HX").gpt_entry(0x900, 192, 199);
    image.gpt_entry(0xA00, 200, 203).put<std::uint16_t>(0x19000 + 1080, 0xEF53);  // of 2048 bytes only a sector is read
    image.gpt_entry(0xB00, 0x0080000000000080, 0x008000000000008F);               // 2^64 + 0x10000 bytes
    image.gpt_entry(0xC00, 208, 215);
    EXPECT_EQ(image.select(),
              "no 65536 found\nvolume offset [ 0x10000 ] : ntfs or exfat\nvolume offset [ 0x14000 ] : linux\n"
              "volume offset [ 0x16000 ] : hfs\nvolume offset [ 0x17000 ] : hfs\nvolume offset [ 0x18000 ] : gpt\n"
              "volume offset [ 0x19000 ] : gpt\nuse option [-offset 0x10000]\n");
    EXPECT_EQ(image.select(0x10000), "ok 65536 found\n");
    EXPECT_EQ(image.gpt(0x200, 1, 256).select(), "no 65536 found\n" + offered("0x10000"));
    EXPECT_EQ(image.gpt(0x200, 1, 256, 2).select(), nothing);
    test_image empty(0x40000);
    EXPECT_EQ(empty.boot_record(0).gpt(0x200, 0xFFFFFFFF, 128).select(), nothing);
    EXPECT_LT(empty.faults.reads, 0x40000 / 128 + 2100U);  // a claimed count costs no more than the image holds
}

TEST(Partitions, GuidTableFromItsBackup) {
    test_image image(0x40000);
    image.boot_record(0).gpt(0x200, 1, 128).gpt_entry(0x400, 128, 143).ntfs(0x10000, 15);
    const std::string backed_up =
        "no 65536 found\nGPT is damaged, partitions are read from its backup\n" + offered("0x10000");
    const auto backup = [&image](const char* name, std::uint32_t length, std::uint64_t own_sector, std::uint32_t crc) {
        image.gpt(0x3FE00, 1, 128, own_sector).gpt(0x200, 1, 128, 0);
        return image.text(0x3FE00, name).put<std::uint32_t>(0x3FE0C, length).put<std::uint32_t>(0x3FE10, crc).select();
    };
    EXPECT_EQ(backup("EFI PART", 92, 0x1FF, 0x9EC9C5B5), backed_up);
    EXPECT_EQ(backup("EFI PART", 512, 0x1FF, 0xD612B4A2), backed_up);
    EXPECT_EQ(backup("EFI PART", 513, 0x1FF, 0x3369569E), nothing);
    EXPECT_EQ(backup("EFI PART", 91, 0x1FF, 0x8AA524D7), nothing);
    EXPECT_EQ(backup("EFI PART", 92, 1, 0x984E9026), nothing);
    EXPECT_EQ(backup("EFI PAST", 92, 0x1FF, 0x047DF7DF), nothing);
    EXPECT_EQ(backup("EFI PART", 92, 0x1FF, 0x9EC9C5B4), nothing);
    (void)backup("EFI PART", 92, 0x1FF, 0x9EC9C5B5);
    image.put<std::uint64_t>(0x218, 1).faults.bad = {{0x200, 0x400}};
    EXPECT_EQ(image.select(), backed_up);
    image.faults.bad.clear();
    EXPECT_EQ(image.select(), "no 65536 found\n" + offered("0x10000"));
}

}  // namespace
