// -path_history in every layout: the path of then in place of the one of now, both as the layout writes texts.
#include "support/command_line.h"

#include <gtest/gtest.h>

TEST(PathHistory, StandsInEveryLayout) {
    journal_entry entry = sample_entry();
    entry.name = u"x|y,z&";
    entry.parent_path = "[root]\\a|b,c&\\";
    entry.path_now = "[root]\\,<d>\\";
    entry.basis = path_basis::likely;
    entry.status = mft_status::valid;
    // The line, or what of an element, begins behind `from`.
    const auto expect = [&](const std::string& options, const std::string& from, const std::string& text) {
        const std::string line = written("-path_history -username u " + options, {entry});
        EXPECT_EQ(line.substr(std::min(line.size(), line.rfind(from) + from.size())), text) << options;
    };
    const std::string padded = std::string(10, ' ') + " | ", closed = "file_closed";
    expect("-csv", closed, ",valid,[root]\\a|b c&\\x|y z&,likely,[root]\\ <d>\\x|y z&,u\n");
    expect("", closed,
           padded + "valid      | [root]\\a;b,c&\\x;y,z& | likely     | [root]\\,<d>\\x;y,z& | u        \n");
    expect("-multiline", closed,
           "\nMFT status:  valid        \nPath:        [root]\\a|b,c&\\x|y,z&\npath basis:  likely       \n"
           "Path now:    [root]\\,<d>\\x|y,z&\nuser acct:   u            \n\n");
    expect("-csvl2t", ",u,",
           ",x|y z&,[root]\\a|b c&\\x|y z&,2,x|y z&,0x0000002a,parent inode: 0x00000005,"
           "lorq (korvane),seq num: 0x0003; path basis: likely\n");
    expect("-bodyfile", "0|[", "root]\\a;b,c&\\x;y,z&|42||0|0|0|0|0|0|1704198896\n");
    const std::string fields[] = {"valid</MFTStatus>\n\t<path>",
                                  "</path>\n\t<PathBasis>likely</PathBasis>\n\t<PathNow>",
                                  "</PathNow>\n</data_entry>\n"};
    expect("-xml", "<MFTStatus>",
           fields[0] + "[root]\\a|b,c&\\x|y,z&" + fields[1] + "[root]\\,<d>\\x|y,z&" + fields[2]);
    expect("-xml -xml_escape", "<MFTStatus>",
           fields[0] + "[root]\\a|b,c&amp;\\x|y,z&amp;" + fields[1] + "[root]\\,&lt;d&gt;\\x|y,z&amp;" + fields[2]);

    const std::string header = written("-csv -path_history -pulltimes -username u", {});
    EXPECT_EQ(header.substr(header.find("cdate")), "cdate, time-UTC,Path,path basis,Path now,user acct\n");
    entry.status = mft_status::parent_gone;  // of now: the path of then is told all the same
    entry.basis = path_basis::remnant;
    entry.path_now = {};
    expect("-csvgen", closed, ",del/parent,[root]\\a|b c&\\x|y z&,remnant,,u\n");
    entry.status = mft_status::unknown;
    entry.basis = path_basis::partial;
    entry.parent_path = "[unknown 7-2]\\\xED\xA0\xBD\\";  // with half a pair of surrogates, as -complete keeps it
    expect("-csv -pulltimes -complete", closed, ",,, ,, ,, ,, ,[unknown 7-2]\\[U+D83D]\\x|y[U+002C]z&,partial,,u\n");
    entry.path_now = "[root]\\now\\";
    const std::string line = written("-path_history -jsonl", {entry});
    const std::size_t begin = line.find(",\"path\""), end = line.find(",\"file_reference\"");
    EXPECT_EQ(line.substr(begin, end - begin),
              R"(,"path":"[unknown 7-2]\\�\\x|y,z&","directory":"[unknown 7-2]\\�","path_basis":"partial",)"
              R"("path_now":"\\now\\x|y,z&")");
    // Half a pair in the name too, and a time that only -complete has.
    entry.name = u"\n," + std::u16string{0xD800};
    entry.timestamp = 1;
    const std::string then = "[unknown 7-2]\\[U+D83D]\\", now = "[root]\\now\\", name = "[LF][U+002C][U+D800]";
    expect("-csv -complete", closed, ",," + then + name + ",partial," + now + name + ",u\n");
    expect("-csvl2t -complete", ",u,",
           "," + name + "," + then + name + ",2," + name + ",0x0000002a," +
               "parent inode: 0x00000005,lorq (korvane),seq num: 0x0003; path basis: partial\n");
    expect("-bodyfile -complete", "0|[unknown", " 7-2]\\[U+D83D]\\[LF],[U+D800]|42||0|0|0|0|0|0|-11644473600\n");
    expect("-xml -complete", "</MFTStatus>\n\t<path>",
           then + "&#10;,[U+D800]</path>\n\t<PathBasis>partial</PathBasis>\n" + "\t<PathNow>" + now + "&#10;,[U+D800]" +
               fields[2]);
    entry.timestamp = ~std::uint64_t{0};
    EXPECT_EQ(written_line("-csv -complete", entry).substr(0, 26), "60056-05-28, 05:36:10.955,");
}
