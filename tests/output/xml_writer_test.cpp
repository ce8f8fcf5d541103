// The XML document: frame, records, both ways of escaping.
#include "output/xml_document.h"
#include "output/xml_escape.h"

#include "support/command_line.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(XmlWriter, RecordsAndCorruptedEntries) {
    const std::string corrupted =
        "<data_entry corrupted=\"yes\">\n\t<usndate>unk</usndate>\n\t<usntime>unk</usntime>\n"
        "\t<name>unk</name>\n\t<reason>unk</reason>\n</data_entry>\n\n";
    const std::string whole =
        "<data_entry>\n\t<USNDate>2024-01-02</USNDate>\n\t<USNTime>12:34:56.789</USNTime>\n"
        "\t<name>report.docx</name>\n\t<reason>file_created; file_closed</reason>\n"
        "\t<mft_ref>0x00000000002a</mft_ref>\n\t<sequence>0x0003</sequence>\n"
        "\t<parent_mft_ref>0x000000000005</parent_mft_ref>\n\t<attributes>archive</attributes>\n"
        "\t<usn>0x000000001000</usn>\n</data_entry>\n";
    journal_entry entry = sample_entry();
    EXPECT_EQ(written("-xml", {entry}), whole);
    constexpr std::uint64_t year_1990 = 122'756'256'000'000'000, year_2101 = 157'784'544'000'000'000;
    for (const std::uint64_t time : {std::uint64_t{0}, year_1990 - 1, year_2101, ~std::uint64_t{0}}) {
        entry.timestamp = time;
        EXPECT_EQ(written("-xml", {entry}), corrupted);
    }
    EXPECT_EQ(written("-xml", {sample_entry(0x80000000, year_1990)}).substr(23, 10), "1990-01-01");
    EXPECT_EQ(written("-xml", {sample_entry(0x80000000, year_2101 - 1)}).substr(23, 10), "2100-12-31");
    entry.reason = 0x100;  // the filter comes first
    EXPECT_EQ(written("-xml", {entry}), "");
}

TEST(XmlWriter, DecimalNumbersPathsAndPulledTimes) {
    std::string options = "-xml -show_dir_path -base10 -a";
    journal_entry entry = sample_entry(0);
    entry.parent_path = "[root]\\A & <\u00e9>\\";
    entry.index_modified = sample_time;
    entry.index_accessed = ~0ULL;  // no calendar has it
    entry.index_mft_changed = sample_time + 864'000'000'000;
    const auto expect_end = [&](const std::string& status, const std::string& path, const std::string& times) {
        EXPECT_EQ(written(options, {entry}),
                  "<data_entry>\n\t<USNDate>2024-01-02</USNDate>\n\t<USNTime>12:34:56.789</USNTime>\n"
                  "\t<name>report.docx</name>\n\t<reason>unk</reason>\n\t<mft_ref>42</mft_ref>\n"
                  "\t<sequence>3</sequence>\n\t<parent_mft_ref>5</parent_mft_ref>\n\t<attributes>archive</attributes>\n"
                  "\t<usn>4096</usn>\n\t<MFTStatus>" +
                      status + "</MFTStatus>\n\t<path>" + path + "</path>\n" + times + "</data_entry>\n");
    };
    const std::string path = "[root]\\A & <\u00e9>\\report.docx";
    expect_end("del/entry", path, "");
    options += " -pulltimes";
    const std::string times =
        "\t<SIModifyDate>2024-01-02</SIModifyDate>\n\t<SIModifyTime>12:34:56.789</SIModifyTime>\n"
        "\t<SIMFTChangedDate>2024-01-03</SIMFTChangedDate>\n\t<SIMFTChangedTime>12:34:56.789</SIMFTChangedTime>\n";
    entry.status = mft_status::parent_gone;
    expect_end("del/parent", "parent dir and file no longer referenced in $MFT", times);
    entry.status = mft_status::remnant;
    expect_end("del/wisp", path, times);
    entry.status = mft_status::valid;
    std::swap(entry.index_accessed, entry.index_modified);
    std::swap(entry.index_created, entry.index_mft_changed);
    options += " -xml_escape";
    expect_end("valid", "[root]\\A &amp; &lt;\u00e9&gt;\\report.docx",
               "\t<SIAccessDate>2024-01-02</SIAccessDate>\n\t<SIAccessTime>12:34:56.789</SIAccessTime>\n"
               "\t<SICreatedDate>2024-01-03</SICreatedDate>\n\t<SICreatedTime>12:34:56.789</SICreatedTime>\n");
}

TEST(XmlWriter, NamesInBothWaysOfEscaping) {
    const std::tuple<std::u16string, std::string, std::string> cases[] = {
        {u"", "", ""},
        {u"a<b&c>&lt;'\"|,", "a&lt;b&amp;c&gt;&amp;lt;'\"|,", "a&lt;b&amp;c&gt;&amp;lt;&apos;&quot;|,"},
        {u"\u00e9\u4e2d\u4e0a\u4e0d\u013c", "%e9\u4e2d%0a%0d\u013c", "\u00e9\u4e2d\u4e0a\u4e0d\u013c"},
        {u"\U0001F600", "\ufffd%00", "\U0001F600"},   // D83D passes, DE00 does not: half a pair is left
        {u"\U0001F43D", "\U0001F43D", "\U0001F43D"},  // both halves pass
        {{0xD800, u'x', 0xDC41}, "%00x\ufffd", "\ufffdx\ufffd"},
        {u"a\r\nb\tc", "a\r\nb%09c", "a&#13;&#10;b&#9;c"},
        {u"\0\x1f\x7f\x80~\ufffe\uffff"s, "%00%1f%7f%80~%fe%ff", "\ufffd\ufffd\x7f\xc2\x80~\ufffd\ufffd"}};
    const auto name_field = [](const std::string& options, const std::u16string& name) {
        journal_entry entry = sample_entry();
        entry.name = name;
        const std::string text = written(options, {entry});
        const std::size_t begin = text.find("<name>") + 6;
        return text.substr(begin, text.find("</name>\n") - begin);
    };
    for (const auto& [name, by_default, escaped] : cases) {
        EXPECT_EQ(name_field("-xml", name), by_default);
        EXPECT_EQ(name_field("-xml -xml_escape", name), escaped);
    }
    EXPECT_EQ(name_field("-xml -xml_escape", std::u16string(30'000, u'<')).size(), 120'000U);
}

TEST(XmlEscape, OnlyWellFormedSequencesAreKept) {
    std::string text;
    uni::append_escaped("\x7f\u0080\u07ff\u0800\ud7ff\ue000\U00010000\U0010ffff", text);
    EXPECT_EQ(text, "\x7f\u0080\u07ff\u0800\ud7ff\ue000\U00010000\U0010ffff");
    for (const std::string_view bad : {"\x80", "\xc1\xbf", "\xc2", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xe4\xb8",
                                       "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf0\x9f\x98", "\xf5\x80\x80\x80"}) {
        text.clear();
        uni::append_escaped(std::string(bad).append("x"), text);
        EXPECT_EQ(text.size(), 3 * bad.size() + 1) << text;
    }
}

TEST(XmlDocument, FrameNamesTheSource) {
    uni::layout_settings settings;
    uni::frame_facts facts;
    facts.banner = "lorq ver: 1.49", facts.journal_path = "C:\\a & b";
    const auto beginning = [&](std::string_view header) {
        facts.run_header = header;
        return uni::xml_beginning(settings, facts);
    };
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n\n";
    const std::string plain = "<logdata filename=\"C:\\a & b\" version=\"lorq ver: 1.49\">\n";
    EXPECT_EQ(beginning(""), declaration + plain);
    EXPECT_EQ(beginning("one\ntwo\xff\n\"a --- b\n-->\x01\u0085\u00e9\uffff-\"\n"),
              declaration + "<!--\none\ntwo?\n\"a - - - b?- ->??\u00e9?-\"\n-->\n" + plain);
    facts.image_path = "<\"A\" & 'B'\xff\n>";
    EXPECT_EQ(beginning(""), declaration + "<logdata umounted_image=\"<\"A\" & 'B'\xff\n>\"\n" + plain.substr(9));
    settings.xml_escape = true;
    EXPECT_EQ(beginning(""), declaration +
                                 "<logdata umounted_image=\"&lt;&quot;A&quot; &amp; &apos;B&apos;\ufffd&#10;&gt;\"\n"
                                 "filename=\"C:\\a &amp; b\" version=\"lorq ver: 1.49\">\n");
}

}  // namespace
