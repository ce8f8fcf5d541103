#include "output/csv_writer.h"

#include "support/command_line.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::string blanks(std::size_t count) { return std::string(count, ' '); }

TEST(CsvWriter, DefaultTable) {
    const std::string golden =
        "usndate    |  time-UTC     | MFT entry      | mft seqnum | parent MFT     | par seqnum | usn#           "
        "| attributes                    | filename                                      "
        "| type change                        \n"
        "2024-01-02 |  12:34:56.789 | 0x00000000002a | 0x00000003 | 0x000000000005 | 0x00000005 | 0x000000001000 "
        "| archive                       | report.docx                                   "
        "| file_created; file_closed          \n";
    const journal_entry open = sample_entry(0x100);
    const journal_entry timeless = sample_entry(0x80000100, 0);
    EXPECT_EQ(written(""), golden);
    EXPECT_EQ(written("", {timeless, open, sample_entry(), open}), golden);
    EXPECT_EQ(written("", {open}), golden.substr(0, golden.find('\n') + 1));
}

TEST(CsvWriter, LayoutsWithoutPadding) {
    const std::string names = ",MFT entry,mft seqnum,parent MFT,par seqnum,usn#,attributes,filename,type change\n";
    const std::string cells =
        ",0x0000002a,0x0003,0x00000005,0x00000005,0x00001000,archive,report.docx,file_created; file_closed\n";
    const std::string csv = "usndate, time-UTC" + names + "2024-01-02, 12:34:56.789" + cells;
    EXPECT_EQ(written("-csv"), csv);
    EXPECT_EQ(written("-csvgen"), csv);
    EXPECT_EQ(written("-pair_datetime -csvgen"), "usndate [UTC]" + names + "2024-01-02 12:34:56.789" + cells);
    EXPECT_EQ(written("-no_whitespace"),
              "usndate|time-UTC|MFT entry|mft seqnum|parent MFT|par seqnum|usn#|attributes|filename|type change\n"
              "2024-01-02|12:34:56.789|0x0000002a|0x0003|0x00000005|0x00000005|0x00001000|archive|report.docx|"
              "file_created; file_closed\n");
    EXPECT_EQ(written_line("-no_whitespace -base10", sample_entry()),
              "2024-01-02|12:34:56.789|42|3|5|5|4096|archive|report.docx|file_created; file_closed\n");
    const std::string more =
        "-csv -csv_separator tab -show_offset -include_slack_space -username a\tb|c,d -hostname lab\n1";
    EXPECT_EQ(written(more),
              "usndate\t time-UTC\tMFT entry\tmft seqnum\tparent MFT\tpar seqnum\tusn#\ttype\toffset\tattributes\t"
              "filename\ttype change\tuser acct\thost name\n"
              "2024-01-02\t 12:34:56.789\t0x0000002a\t0x0003\t0x00000005\t0x00000005\t0x00001000\t$J\t0x00007e00\t"
              "archive\treport.docx\tfile_created; file_closed\ta\tb|c,d\tlab[LF]1\n");
    journal_entry entry = sample_entry();
    entry.snapshot_label = "SnapID: 1";
    const auto expect_type = [&](const std::string& type) {
        EXPECT_NE(written_line(more, entry).find("0x00001000\t" + type + "\t0x00007e00"), std::string::npos) << type;
    };
    expect_type("$J");
    entry.origin = record_origin::slack, expect_type("slack");
    entry.origin = record_origin::shadow_copy, expect_type("SnapID: 1");
    entry.origin = record_origin::unallocated, expect_type("unalloc");
}

TEST(CsvWriter, PaddedVariants) {
    EXPECT_EQ(written("-pair_datetime -csv"),
              "usndate [UTC]          ,MFT entry     ,mft seqnum,parent MFT    ,par seqnum,usn#          ,"
              "attributes                   ,filename                                     ,"
              "type change                        \n"
              " 2024-01-02 12:34:56.789,0x00000000002a,0x00000003,0x000000000005,0x00000005,0x000000001000,"
              "archive                      ,report.docx                                  ,"
              "file_created; file_closed          \n");
    const std::string decimal = "-base10 -show_offset -include_slack_space -dateformat dd/mm/yy -timeformat hh:mm:ss";
    journal_entry wide = sample_entry(0x80000101);  // 43 characters: a text is never cut
    wide.usn = -1;
    EXPECT_EQ(written_line(decimal + " -csv_separator ~::~", wide),
              "02/01/24 ::  12:34:56 ::             42 ::          3 ::              5 ::          5 :: "
              "18446744073709551615 :: $J      ::          32256 :: archive                       :: "
              "report.docx                                   :: data_overwritten; file_created; file_closed\n");
}

TEST(CsvWriter, Multiline) {
    const std::string padded =
        "usndate:     2024-01-02    12:34:56.789 \nMFT entry:   0x0000000002a\nmft seqnum:  0x00000000003\n"
        "parent MFT:  0x00000000005\npar seqnum:  0x00000000005\nusn#:        0x00000001000\n"
        "attributes:  archive      \nfilename:    report.docx  \ntype change: file_created; file_closed\n\n";
    EXPECT_EQ(written("-multiline", {sample_entry(), sample_entry()}), padded + padded);
    EXPECT_EQ(written("-multiline -no_whitespace"),
              "usndate:     2024-01-0212:34:56.789\nMFT entry:   0x0000002a\nmft seqnum:  0x0003\n"
              "parent MFT:  0x00000005\npar seqnum:  0x00000005\nusn#:        0x00001000\n"
              "attributes:  archive\nfilename:    report.docx\ntype change: file_created; file_closed\n\n");
}

TEST(CsvWriter, PathColumnsAndPulledTimes) {
    constexpr std::uint64_t day = 864'000'000'000;
    journal_entry entry = sample_entry();
    entry.name = u"x";
    entry.parent_path = "\\\u00e9\\";
    entry.index_modified = sample_time;
    entry.index_accessed = sample_time + day;
    entry.index_mft_changed = sample_time + 2 * day;
    entry.index_created = sample_time + 3 * day;
    // What stands behind "type change" in header and line.
    const auto expect = [&](const std::string& options, const std::string& line, const std::string& header = "") {
        const std::string text = written(options + " -show_dir_path", {entry});
        const std::size_t names = text.find("type change") + 11;
        EXPECT_EQ(text.substr(text.find("file_closed") + 11), line + "\n") << options;
        EXPECT_TRUE(header.empty() || text.substr(names, text.find('\n') - names) == header) << text;
    };
    expect("-csv", ",del/entry,\\\u00e9\\x", ",MFT status,Path");
    expect("-csv -pulltimes", ",del/entry,, ,, ,, ,, ,\\\u00e9\\x",
           ",MFT status,mdate, time-UTC,adate, time-UTC,mftdate, time-UTC,cdate, time-UTC,Path");
    expect("-csvgen -pair_datetime -pulltimes", ",del/entry, , , , ,\\\u00e9\\x",
           ",MFT status,modify date [UTC],access date [UTC],MFT date [UTC],create date [UTC],Path");
    expect("-no_whitespace -pulltimes", "|del/entry|||||||||\\\u00e9\\x");
    const std::string time = blanks(10) + " |  " + blanks(12) + " | ", pair = " " + blanks(23) + " | ";
    const std::string before = blanks(10) + " | del/entry  | ", path = "\\\u00e9\\x      ";
    expect("-pulltimes", before + time + time + time + time + path);
    expect("-pulltimes -pair_datetime", before + pair + pair + pair + pair + path);

    entry.status = mft_status::parent_gone;
    expect("-csv -pulltimes", ",del/parent,, ,, ,, ,, ,parent dir and file no longer referenced in $MFT");
    entry.status = mft_status::remnant;
    const std::string times =
        ",2024-01-02, 12:34:56.789,2024-01-03, 12:34:56.789,2024-01-04, 12:34:56.789,2024-01-05, 12:34:56.789,";
    expect("-csv -pulltimes", ",del/wisp" + times + "\\\u00e9\\x");
    entry.status = mft_status::valid;
    entry.parent_path = "\\a,b\n\\";
    expect("-csv -pulltimes", ",valid" + times + "\\a b[LF]\\x");
    expect("", blanks(10) + " | valid      | \\a,b\n\\x   ");
}

TEST(CsvWriter, NamesOfEveryKind) {
    const auto name_cell = [](bool csv, const std::u16string& name) {
        journal_entry entry = sample_entry();
        entry.name = name;
        const std::string text = written_line(csv ? "-csv" : "", entry);
        const std::string before = csv ? "archive," : "archive" + blanks(22) + " | ";
        const std::size_t at = text.find(before) + before.size();
        return text.substr(at, text.rfind(csv ? ",file_created; " : " | file_created; ") - at);
    };
    EXPECT_EQ(name_cell(true, u"a|b,c\r\nd\re\n"), "a|b c[CRLF]d\re[LF]");
    EXPECT_EQ(name_cell(false, u"a|b,c\r\nd"), "a;b,c\r\nd" + blanks(37));
    EXPECT_EQ(name_cell(false, u"\u00e9\U0001F600" + std::u16string{0xD800}), "\u00e9\U0001F600\ufffd" + blanks(42));
    EXPECT_EQ(name_cell(false, std::u16string(45, u'\u4e2d')).size(), 135U);
    EXPECT_EQ(name_cell(false, u"a\0b"s), "a\0b"s + blanks(42));
    EXPECT_EQ(name_cell(true, u""), "");
    EXPECT_EQ(name_cell(true, u"\u007f\u0080\u07ff\u0800\uffff"), "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf");
    EXPECT_EQ(name_cell(true, {0xDC00, 0xD83D, 0xD83D, 0xDE00, 0xDBFF, u'x'}), "\ufffd\ufffd\U0001F600\ufffdx");
    EXPECT_EQ(name_cell(true, std::u16string(30'000, u'\n')).size(), 120'000U);
    // Plain names take a shorter way; the character that is not plain must be seen at every place of every length.
    const std::u16string odd = u",\r\n\t\0\u00ac\u2c2c"s;
    const std::string texts[] = {" ", "[CR]", "[LF]", "\t", "\0"s, "\xc2\xac", "\xe2\xb0\xac"};
    for (std::size_t length = 1; length < 14; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (std::size_t i = 0; i < odd.size(); ++i) {
                std::u16string name(length, u'~');
                name[at] = odd[i];
                EXPECT_EQ(name_cell(true, name), std::string(at, '~') + texts[i] + std::string(length - at - 1, '~'));
            }
        }
    }
}

}  // namespace
