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
    expect("-csv -complete -pulltimes", closed, ",,, ,, ,, ,, ,[unknown 7-2]\\[U+D83D]\\x|y[U+002C]z&,partial,,u\n");
    expect("-xml -pulltimes -xml_escape -complete", "<MFTStatus>",
           "</MFTStatus>\n\t<path>[unknown 7-2]\\[U+D83D]\\x|y,z&amp;</path>\n\t<PathBasis>partial</PathBasis>\n"
           "\t<PathNow></PathNow>\n</data_entry>\n");
    entry.path_now = "[root]\\now\\";
    const std::string line = written("-path_history -jsonl", {entry});
    const std::size_t begin = line.find(",\"path\""), end = line.find(",\"file_reference\"");
    EXPECT_EQ(line.substr(begin, end - begin),
              R"(,"path":"[unknown 7-2]\\�\\x|y,z&","directory":"[unknown 7-2]\\�","path_basis":"partial",)"
              R"("path_now":"\\now\\x|y,z&")");
}
