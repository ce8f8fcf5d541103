// The body file and log2timeline's table, and the slots that both place a record by.
#include "support/command_line.h"

#include <gtest/gtest.h>

TEST(Timelines, EveryReasonFallsIntoItsSlots) {
    // clang-format off
    const std::tuple<std::uint32_t, std::string, std::string> cases[] = {
        {0x1, "M...", "data overwritten"}, {0x2, ".A..", "data added"}, {0x4, "..C.", "data truncated"},
        {0x10, "M...", "ads data overwritten"}, {0x20, ".A..", "ads data added"}, {0x40, "..C.", "ads data truncated"},
        {0x100, "...B", "file created"}, {0x200, "..C.", "file deleted"}, {0x400, "..C.", "ea changed"},
        {0x800, "..C.", "access changed"}, {0x1000, "..C.", "file renamed (old)"}, {0x2000, "..C.", ""},
        {0x4000, "..C.", "context indexed changed"}, {0x8000, "..C.", "basic info changed"}, {0x7FC00088, "....", ""},
        {0x10000, "..C.", "hardlink changed"}, {0x20000, "..C.", "compression changed"}, {0x80000000, "....", ""},
        {0x40000, "..C.", "encryption changed"}, {0x80000, "..C.", "objid changed"}, {0x100000, "..C.", "reparse changed"},
        {0x200000, "...B", "stream added or deleted"}, {0x80000002, ".A..", "data added"}, {0x2001, "M.C.", "data overwritten"},
        {0x80000102, ".A.B", "data added; file created"}, {0x11, "M...", "ads data overwritten"}, {0, "....", ""},
        {0x44, "..C.", "ads data truncated"}, {0x8800, "..C.", "access changed"}, {0x2100, "..CB", "file created"},
        {~0U, "MACB", "ads data overwritten; ads data added; reparse changed; stream added or deleted"}};
    // clang-format on
    for (const auto& [reason, letters, type] : cases) {
        const journal_entry entry = sample_entry(reason);
        std::string times;  // in the order of the body file
        for (const std::size_t slot : {1U, 0U, 2U, 3U}) times += letters[slot] == '.' ? "|0" : "|1704198896";
        EXPECT_EQ(written("-bodyfile", {entry}), "0|report.docx|42||0|0|0" + times + "\n");
        EXPECT_EQ(written_line("-csvl2t", entry),
                  letters == "...." ? ""
                                    : "2024-01-02, 12:34:56.789,UTC," + letters + ",USNJRNL,NTFS:$UsnJrnl:$J," + type +
                                          ",,,report.docx,,2,report.docx,0x0000002a,parent inode: 0x00000005,"
                                          "lorq (korvane),seq num: 0x0003\n");
    }
}

TEST(BodyWriter, SecondsOfAnyTimeAndNamesOfAnyKind) {
    journal_entry entry = sample_entry(0x2);
    entry.name = u"a|b,c<&\u00e9\U0001F600\r\n|" + std::u16string{0xD800};
    for (const auto& [filetime, seconds] : {std::pair{1ULL, "1833029933770"},  // before 1970 it wraps
                                            {116'444'736'010'000'000ULL, "1"},
                                            {116'444'736'009'999'999ULL, "0"}}) {
        entry.timestamp = filetime;
        EXPECT_EQ(written("-bodyfile -a", {entry}),
                  std::string("0|a;b,c<&\u00e9\U0001F600\r\n;\ufffd|42||0|0|0|") + seconds + "|0|0|0\n");
    }
}

TEST(L2tWriter, HeaderAndLayouts) {
    const std::string names =
        "timezone,MACB,source,sourcetype,type,user,host,short,desc,version,filename,inode,notes,format,extra\n";
    EXPECT_EQ(written("-csvl2t", {}), "date,time," + names);
    EXPECT_EQ(written("-csvl2t", {sample_entry(1, 0), journal_entry{}}), "date,time," + names);
    const std::string paired = "-csvl2t -pair_datetime -base10 -hostname lab -username a,b";  // as given
    const std::string line =
        "2024-01-02 12:34:56.789,UTC,...B,USNJRNL,NTFS:$UsnJrnl:$J,file created,a,b,lab,"
        "report.docx,,2,report.docx,42,parent inode: 5,lorq (korvane),seq num: 3\n";
    EXPECT_EQ(written(paired, {sample_entry(), sample_entry()}), "date/time," + names + " " + line + " " + line);
    EXPECT_EQ(written(paired + " -no_whitespace"), "date/time," + names + line);
}

TEST(L2tWriter, NamesAndPaths) {
    journal_entry entry = sample_entry();
    entry.name = u"a|b,c<&\u00e9\U0001F600\r\n" + std::u16string{0xD800};
    entry.parent_path = "[root]\\x,\n\\";
    const std::string name = "a|b c<&\u00e9\U0001F600\r\n\ufffd";
    const auto expect_path = [&](const std::string& path, const std::string& options = " -show_dir_path") {
        const std::string text = written_line("-csvl2t" + options, entry);
        EXPECT_EQ(text.substr(74, text.find(",0x0000002a") - 74), name + "," + path + ",2," + name);
    };
    expect_path("", "");
    expect_path("[root]\\x [LF]\\a|b c<&\u00e9\U0001F600[CRLF]\ufffd");
    entry.status = mft_status::parent_gone;
    expect_path("");
    entry.status = mft_status::valid;
    entry.parent_path = {};
    expect_path("");
}
