#include "journal/usn_record.h"

#include "journal/usn_text.h"
#include "made_records.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

constexpr std::uint16_t versions[] = {2, 3, 4};

bool decode(journal_entry& entry, std::uint16_t version, const bytes& record, std::uint64_t offset = 0) {
    const byte_view view(record, offset);
    if (version == 2) decode_record_v2(entry, view);
    if (version == 3) decode_record_v3(entry, view);
    if (version == 4) decode_record_v4(entry, view);
    return entry.valid == 1;
}

TEST(UsnRecord, EveryCheckHasItsEdge) {
    constexpr std::size_t none = 99;
    // One number at one place of each version, at the edge of what passes and one step outside.
    const struct {
        const char* what;
        std::size_t at[3], width;
        std::uint64_t inside, outside;
    } edges[] = {{"record length", {0, 0, 0}, 4, 4096, 4097},
                 {"record length", {0, none, none}, 4, 62, 61},
                 {"record length", {none, 0, none}, 4, 78, 77},
                 {"record length", {none, none, 0}, 4, 64, 63},
                 {"major version", {4, 4, 4}, 2, 2, 1},
                 {"major version", {4, 4, 4}, 2, 4, 5},
                 {"minor version", {6, 6, 6}, 2, 0, 1},
                 {"time stamp", {32, 48, none}, 8, 1, 0},
                 {"parent entry", {16, 24, none}, 6, 0xFFFFFFFE, 0xFFFFFFFF},
                 {"parent entry above 32 bits", {20, 28, none}, 2, 0, 1},
                 {"parent sequence", {22, 30, 30}, 2, 0xF000, 0xF001},
                 {"entry", {8, 8, 8}, 6, 0xFFFFFFFE, 0xFFFFFFFF},
                 {"sequence high", {14, 14, 14}, 2, 0xF000, 0xF001},
                 {"sequence low", {14, 14, 14}, 2, 1, 0},
                 {"usn", {24, 40, 40}, 8, 1, 0},
                 {"attributes", {52, 68, none}, 4, 0x500000, 0x500001},
                 {"name offset", {58, none, none}, 2, 60, 62},
                 {"name offset", {none, 74, none}, 2, 76, 78},
                 {"name length", {56, 72, none}, 2, 4, 5},
                 {"name length that wraps in version 2", {none, 72, none}, 2, 4, 0xFFFE}};
    for (const auto& edge : edges) {
        for (const std::uint16_t version : versions) {
            const std::size_t at = edge.at[version - 2];
            if (at == none) continue;
            bytes record = record_named(u"a", 0x1000, version);
            record.resize(5000);
            for (const std::uint64_t value : {edge.inside, edge.outside}) {
                journal_entry entry;
                EXPECT_EQ(decode(entry, version, with_number(record, at, edge.width, value)), value == edge.inside)
                    << edge.what << ", version " << version;
            }
        }
    }
    journal_entry entry;
    for (const std::uint16_t version : versions) {
        bytes record = record_named(u"a", 0x1000, version);
        for (record.pop_back(); !record.empty(); record.pop_back()) EXPECT_FALSE(decode(entry, version, record));
    }
}

TEST(UsnRecord, LongNamesKeepTheirBeginning) {
    journal_entry entry;
    for (const std::size_t length : {200U, 201U}) {
        decode(entry, 2, record_named(std::u16string(length, u'n')));
        EXPECT_EQ(entry.name, std::u16string(length == 200 ? 200 : 10, u'n'));
    }
    // In version 2 the sum is taken in 16 bits: a wrapped length passes, and the name stops at the available bytes.
    EXPECT_TRUE(decode(entry, 2, with_number(record_named(u"a"), 56, 2, 0xFFFE)) &&
                entry.name == std::u16string({u'a', 0}));
}

TEST(UsnRecord, FieldsArriveAndAFailedRecordLeavesNone) {
    for (const std::uint16_t version : versions) {
        const bool full = version != 4;
        const record_fields fields{.file_ref = reference(42, 3),
                                   .parent_ref = reference(5, 5),
                                   .usn = 0x1000,
                                   .timestamp = full ? 133'485'408'001'234'567U : 0,
                                   .reason = 0x80000102,
                                   .source_info = 0x51,
                                   .security_id = full ? 0x107U : 0,
                                   .file_attributes = full ? 0x20U : 0};
        journal_entry entry;
        EXPECT_TRUE(decode(entry, version, usn_record_builder{.version = version}.build(), 0x7000));
        EXPECT_TRUE(entry.fields() == fields && entry.name == (full ? u"report.docx" : u"") &&
                    entry.record_offset == 0x7000)
            << version;
        EXPECT_FALSE(decode(entry, version, bytes(100), 0x7000));
        EXPECT_TRUE(entry.fields() == record_fields{} && entry.name.empty() && entry.record_offset == 0);
    }
}

// `names`: those of the bits from 0 on, "-" for a bit without one.
void expect_tokens(const std::string& names, void (*tokens)(std::uint32_t, std::string&)) {
    std::istringstream in(names);
    std::string name, text;
    for (unsigned bit = 0; bit < 32; ++bit) {
        if (!(in >> name)) name = "-";
        tokens(1U << bit, text);
        EXPECT_EQ(text, name == "-" ? "unk" : name) << bit;
    }
}

TEST(UsnText, TokensOfReasonsAndAttributes) {
    expect_tokens(
        "data_overwritten data_appended data_truncated - ads_data_overwritten ads_data_appended ads_data_truncated - "
        "file_created file_deleted extended_attrib_changed access_changed file_old_name file_new_name "
        "context_indexed_changed basic_info_changed hardlink_changed compression_changed encryption_changed "
        "objid_changed reparse_changed ads_added_or_deleted - - - - - - - - - file_closed",
        reason_tokens);
    expect_tokens(
        "readonly hidden system - dir archive device normal temp sparse symlink compressed offline not_indexed "
        "encrypted - virtual",
        attribute_tokens);
}

}  // namespace
