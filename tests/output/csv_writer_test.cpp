#include "output/csv_writer.h"

#include "output/text_marks.h"
#include "output/token_cache.h"

#include "support/table_settings.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::string blanks(std::size_t count) { return std::string(count, ' '); }

// Header and lines of the records.
std::string table(table_settings settings, const std::vector<journal_entry>& entries = {sample_entry()}) {
    uni::csv_writer writer(settings);
    uni::text_buffer text;
    for (const journal_entry& entry : entries) writer.write_csv_record(entry, text);
    EXPECT_FALSE(settings.write_header && !entries.empty());
    return std::string(text.view());
}

// The table without its header.
std::string line(table_settings settings, const journal_entry& entry) {
    settings.write_header = false;
    return table(settings, {entry});
}

std::string name_cell(const table_settings& settings, const std::u16string& name) {
    journal_entry entry = sample_entry();
    entry.name = name;
    const std::string text = line(settings, entry);
    const std::string before = "archive" + (settings.no_whitespace ? "" : blanks(22)) + settings.separator;
    const std::size_t at = text.find(before) + before.size();
    return text.substr(at, text.rfind(settings.separator + "file_created; ") - at);
}

TEST(CsvWriter, DefaultTable) {
    const std::string golden =
        "usndate    |  time-UTC     | MFT entry      | mft seqnum | parent MFT     | par seqnum | usn#           "
        "| attributes                    | filename                                      "
        "| type change                        \n"
        "2024-01-02 |  12:34:56.789 | 0x00000000002a | 0x00000003 | 0x000000000005 | 0x00000005 | 0x000000001000 "
        "| archive                       | report.docx                                   "
        "| file_created; file_closed          \n";
    EXPECT_EQ(table({}), golden);

    const std::string header = golden.substr(0, golden.find('\n') + 1);
    journal_entry open = sample_entry();
    open.reason = 0x100;
    journal_entry timeless = sample_entry();
    timeless.timestamp = 0;
    EXPECT_EQ(table({}, {open}), header);
    EXPECT_EQ(table({}, {timeless}), header);
    EXPECT_EQ(table({}, {timeless, open, sample_entry(), open}), golden);
    table_settings all;
    all.closed_only = false;
    all.no_whitespace = true;
    EXPECT_EQ(line(all, open),
              "2024-01-02 |  12:34:56.789 | 0x0000002a | 0x0003 | 0x00000005 | 0x00000005 | 0x00001000 | "
              "archive | report.docx | file_created\n");
    EXPECT_EQ(table({}, {}), "");
}

TEST(CsvWriter, LayoutsWithoutPadding) {
    const std::string names =
        "usndate, time-UTC,MFT entry,mft seqnum,parent MFT,par seqnum,usn#,attributes,filename,type change\n";
    const std::string csv =
        names +
        "2024-01-02, 12:34:56.789,0x0000002a,0x0003,0x00000005,0x00000005,0x00001000,archive,report.docx,"
        "file_created; file_closed\n";
    EXPECT_EQ(table(table_settings().with_csv()), csv);
    EXPECT_EQ(table(table_settings().with_csvgen()), csv);
    EXPECT_EQ(table(table_settings().set_formats(true).with_csvgen()),
              "usndate [UTC],MFT entry,mft seqnum,parent MFT,par seqnum,usn#,attributes,filename,type change\n"
              "2024-01-02 12:34:56.789,0x0000002a,0x0003,0x00000005,0x00000005,0x00001000,archive,report.docx,"
              "file_created; file_closed\n");

    table_settings decimal = table_settings().with_no_whitespace();
    EXPECT_EQ(table(decimal),
              "usndate|time-UTC|MFT entry|mft seqnum|parent MFT|par seqnum|usn#|attributes|filename|type change\n"
              "2024-01-02|12:34:56.789|0x0000002a|0x0003|0x00000005|0x00000005|0x00001000|archive|report.docx|"
              "file_created; file_closed\n");
    decimal.hexadecimal = false;
    EXPECT_EQ(line(decimal, sample_entry()),
              "2024-01-02|12:34:56.789|42|3|5|5|4096|archive|report.docx|file_created; file_closed\n");

    table_settings more = table_settings().with_csv().separated_by("\t", '\0', '\0');
    more.show_offset = more.extra_scan = true;
    more.user_name = "a\tb|c,d";
    more.host_name = "lab\n1";
    EXPECT_EQ(table(more),
              "usndate\t time-UTC\tMFT entry\tmft seqnum\tparent MFT\tpar seqnum\tusn#\ttype\toffset\tattributes\t"
              "filename\ttype change\tuser acct\thost name\n"
              "2024-01-02\t 12:34:56.789\t0x0000002a\t0x0003\t0x00000005\t0x00000005\t0x00001000\t$J\t0x00007e00\t"
              "archive\treport.docx\tfile_created; file_closed\ta\tb|c,d\tlab[LF]1\n");
}

TEST(CsvWriter, PaddedVariants) {
    EXPECT_EQ(table(table_settings().set_formats(true).with_csv()),
              "usndate [UTC]          ,MFT entry     ,mft seqnum,parent MFT    ,par seqnum,usn#          ,"
              "attributes                   ,filename                                     ,"
              "type change                        \n"
              " 2024-01-02 12:34:56.789,0x00000000002a,0x00000003,0x000000000005,0x00000005,0x000000001000,"
              "archive                      ,report.docx                                  ,"
              "file_created; file_closed          \n");

    table_settings decimal;
    decimal.hexadecimal = false;
    decimal.show_offset = decimal.extra_scan = true;
    decimal.date_format = "dd/mm/yy";
    decimal.time_format = "hh:mm:ss";
    decimal.set_formats(false).separated_by(" a separator of some length ", '\0', '\0');
    journal_entry wide = sample_entry();
    wide.usn = -1;
    wide.reason = 0x80000101;  // 43 characters: a text is never cut
    const auto joined = [](std::string text) {
        for (std::size_t at = 0; (at = text.find('#', at)) != std::string::npos; at += 20) {
            text.replace(at, 1, " a separator of some length ");
        }
        return text;
    };
    EXPECT_EQ(
        line(decimal, wide),
        joined("02/01/24# 12:34:56#            42#         3#             5#         5#18446744073709551615#$J     #"
               "         32256#archive                      #report.docx                                  #"
               "data_overwritten; file_created; file_closed\n"));
    decimal.separated_by(std::string(5000, '#'), '\0', '\0');
    EXPECT_EQ(line(decimal, wide).size(), 55'224U);
    wide.file_ref = 0xFFFF'FFFF'FFFF'FFFF;
    EXPECT_EQ(line({}, wide),
              "2024-01-02 |  12:34:56.789 | 0xffffffffffff | 0x0000ffff | 0x000000000005 | 0x00000005 | "
              "0xffffffffffffffff | archive                       | report.docx                                   "
              "| data_overwritten; file_created; file_closed\n");
}

TEST(CsvWriter, Multiline) {
    const std::string padded =
        "usndate:     2024-01-02    12:34:56.789 \n"
        "MFT entry:   0x0000000002a\n"
        "mft seqnum:  0x00000000003\n"
        "parent MFT:  0x00000000005\n"
        "par seqnum:  0x00000000005\n"
        "usn#:        0x00000001000\n"
        "attributes:  archive      \n"
        "filename:    report.docx  \n"
        "type change: file_created; file_closed\n"
        "\n";
    EXPECT_EQ(table(table_settings().with_multiline(), {sample_entry(), sample_entry()}), padded + padded);
    EXPECT_EQ(table(table_settings().with_multiline().with_no_whitespace()),
              "usndate:     2024-01-0212:34:56.789\n"
              "MFT entry:   0x0000002a\n"
              "mft seqnum:  0x0003\n"
              "parent MFT:  0x00000005\n"
              "par seqnum:  0x00000005\n"
              "usn#:        0x00001000\n"
              "attributes:  archive\n"
              "filename:    report.docx\n"
              "type change: file_created; file_closed\n"
              "\n");
    const std::string paired = table(table_settings().set_formats(true).with_multiline());
    EXPECT_EQ(paired.substr(0, paired.find("mft seqnum")),
              "usndate [UTC]:  2024-01-02 12:34:56.789\n"
              "MFT entry:     0x000000000002a\n");
}

// What stands behind "type change" in header and line.
std::string path_part(table_settings settings, const journal_entry& entry, bool header = false) {
    settings.show_dir_path = true;
    settings.write_header = header;
    const std::string text = table(settings, {entry});
    const std::string before = header ? "type change" : "file_closed";
    return text.substr(text.find(before) + before.size(),
                       header ? text.find('\n') - text.find(before) - before.size() : ~0U);
}

TEST(CsvWriter, PathColumnsAndPulledTimes) {
    constexpr std::uint64_t day = 864'000'000'000;
    journal_entry entry = sample_entry();
    entry.parent_path = "\\Users\\\u00e9\\";
    entry.si_modified = sample_time;
    entry.si_accessed = sample_time + day;
    entry.si_mft_changed = sample_time + 2 * day;
    entry.si_created = sample_time + 3 * day;
    const table_settings padded;
    table_settings csv = table_settings().with_csv();
    EXPECT_EQ(path_part(csv, entry), ",del/entry,\\Users\\\u00e9\\report.docx\n");
    EXPECT_EQ(path_part(csv, entry, true), ",MFT status,Path");

    csv.pull_times = true;
    table_settings padded_times;
    padded_times.pull_times = true;
    table_settings paired_times = table_settings().set_formats(true);
    paired_times.pull_times = true;
    table_settings paired_csvgen = table_settings().set_formats(true).with_csvgen();
    paired_csvgen.pull_times = true;
    table_settings dense = table_settings().with_no_whitespace();
    dense.pull_times = true;
    EXPECT_EQ(path_part(csv, entry, true),
              ",MFT status,mdate, time-UTC,adate, time-UTC,mftdate, time-UTC,cdate, time-UTC,Path");
    EXPECT_EQ(path_part(paired_csvgen, entry, true),
              ",MFT status,modify date [UTC],access date [UTC],MFT date [UTC],create date [UTC],Path");
    EXPECT_EQ(path_part(csv, entry), ",del/entry,, ,, ,, ,, ,\\Users\\\u00e9\\report.docx\n");
    EXPECT_EQ(path_part(dense, entry), "|del/entry|||||||||\\Users\\\u00e9\\report.docx\n");
    EXPECT_EQ(path_part(paired_csvgen, entry), ",del/entry, , , , ,\\Users\\\u00e9\\report.docx\n");
    const std::string blank_time = blanks(10) + " |  " + blanks(12) + " | ";
    entry.name = u"x";
    entry.parent_path = "\\\u00e9\\";
    EXPECT_EQ(path_part(padded_times, entry), blanks(10) + " | del/entry  | " + blank_time + blank_time + blank_time +
                                                  blank_time + "\\\u00e9\\x      \n");
    const std::string blank_pair = " " + blanks(23) + " | ";
    EXPECT_EQ(path_part(paired_times, entry), blanks(10) + " | del/entry  | " + blank_pair + blank_pair + blank_pair +
                                                  blank_pair + "\\\u00e9\\x      \n");

    entry.mft_parent_missing = 1;
    EXPECT_EQ(path_part(csv, entry), ",del/parent,, ,, ,, ,, ,parent dir and file no longer referenced in $MFT\n");
    entry.mft_entry_remnant = 1;
    const std::string times =
        ",2024-01-02, 12:34:56.789,2024-01-03, 12:34:56.789,2024-01-04, 12:34:56.789,2024-01-05, 12:34:56.789,";
    EXPECT_EQ(path_part(csv, entry), ",del/wisp" + times + "\\\u00e9\\x\n");
    entry.mft_entry_current = 1;
    EXPECT_EQ(path_part(csv, entry), ",valid" + times + "\\\u00e9\\x\n");
    entry.parent_path = "\\a,b\n\\";
    EXPECT_EQ(path_part(csv, entry), ",valid" + times + "\\a b[LF]\\x\n");
    EXPECT_EQ(path_part(padded, entry), blanks(10) + " | valid      | \\a,b\n\\x   \n");
}

TEST(CsvWriter, TypeOfARecord) {
    table_settings settings = table_settings().with_csv();
    settings.extra_scan = true;
    journal_entry entry = sample_entry();
    entry.snapshot_label = "SnapID: 1";
    const auto type = [&] { return line(settings, entry).substr(76, 9); };
    EXPECT_EQ(type(), "$J,archiv");
    entry.from_slack = 1;
    EXPECT_EQ(type(), "slack,arc");
    entry.from_vss = 1;
    EXPECT_EQ(type(), "SnapID: 1");
    entry.from_unalloc = 1;
    EXPECT_EQ(type(), "unalloc,a");
}

TEST(CsvWriter, NamesOfEveryKind) {
    const table_settings padded;
    const table_settings csv = table_settings().with_csv();
    EXPECT_EQ(name_cell(csv, u"a|b,c\r\nd\re\n"), "a|b c[CRLF]d\re[LF]");
    EXPECT_EQ(name_cell(padded, u"a|b,c\r\nd"), "a;b,c\r\nd" + blanks(37));
    EXPECT_EQ(name_cell(padded, u"\u00e9\U0001F600" + std::u16string{0xD800}), "\u00e9\U0001F600\ufffd" + blanks(42));
    EXPECT_EQ(name_cell(padded, std::u16string(45, u'\u4e2d')).size(), 135U);
    EXPECT_EQ(name_cell(padded, u"a\0b"s), "a\0b"s + blanks(42));
    EXPECT_EQ(name_cell(csv, u""), "");
    EXPECT_EQ(name_cell(csv, std::u16string(30'000, u'\n')).size(), 120'000U);

    // Plain names take a shorter way; the character that is not plain must be seen at every place of every length.
    const std::pair<char16_t, std::string> odd[] = {{u',', " "},
                                                    {u'\r', "[CR]"},
                                                    {u'\n', "[LF]"},
                                                    {u'\t', "\t"},
                                                    {0, "\0"s},
                                                    {u'\u00ac', "\xc2\xac"},
                                                    {u'\u2c2c', "\xe2\xb0\xac"}};
    for (std::size_t length = 1; length < 14; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            for (const auto& [unit, text] : odd) {
                std::u16string name(length, u'~');
                name[at] = unit;
                EXPECT_EQ(name_cell(csv, name), std::string(at, '~') + text + std::string(length - at - 1, '~'));
            }
        }
    }
}

TEST(TokenCache, ValuesThatShareAPlaceKeepTheirTexts) {
    uni::token_cache texts([](std::uint32_t flags, std::string& out) { out = std::to_string(flags); });
    for (std::uint32_t flags = 0; flags < 1000; ++flags) {
        EXPECT_EQ(texts.text_of(flags), std::to_string(flags));
        EXPECT_EQ(texts.text_of(flags / 2), std::to_string(flags / 2));
        EXPECT_EQ(texts.text_of(flags), std::to_string(flags));
    }
}

TEST(TextMarks, LineBreaksFromLeftToRight) {
    const std::pair<std::string, std::string> cases[] = {{"", ""},
                                                         {"a\rb\r", "a[CR]b[CR]"},
                                                         {"\n\r\n", "[LFCR][LF]"},
                                                         {"\r\n\r", "[CRLF]\r"},
                                                         {"\r\r\n", "\r[CRLF]"},
                                                         {"\n\n\r", "[LF][LFCR]"},
                                                         {"a\nb", "a[LF]b"}};
    for (const auto& [text, marked] : cases) {
        std::string out = text;
        uni::mark_line_breaks(out);
        EXPECT_EQ(out, marked);
    }
}

TEST(TableRow, IgnoresWhatDoesNotFit) {
    uni::table_row row(3);
    EXPECT_EQ(row.set_value(2, sample_time, uni::cell_kind::split_time), 0U);
    EXPECT_EQ(row.set_value(1, sample_time, uni::cell_kind::split_time), 2U);
    EXPECT_EQ(row.set_value(3, 1, uni::cell_kind::number), 0U);
    EXPECT_EQ(row.set_text(3, "x") + row.set_token(3, "x") + row.set_wide_text(3, u"x"), 0U);
    EXPECT_EQ(row.set_wide_text(0, u"x"), 1U);
    for (const std::size_t count : {0U, 256U}) EXPECT_FALSE(uni::table_row(count).ready());
    EXPECT_TRUE(uni::table_row(255).ready());

    table_settings settings;
    uni::csv_writer writer(settings);
    uni::text_buffer text;
    writer.write_csv_row(uni::table_row(0), text);
    EXPECT_EQ(text.size(), 0U);
}

}  // namespace
