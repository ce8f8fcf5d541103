#include "journal/usn_record.h"

#include "support/usn_record_builder.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr std::uint16_t all_versions[] = {2, 3, 4};
constexpr std::uint16_t named_versions[] = {2, 3};
constexpr std::uint16_t unknown_versions[] = {0, 1, 5};

void decode(journal_entry& entry, std::uint16_t version, const bytes& record, std::uint64_t offset = 0) {
    const byte_view view(record, offset);
    if (version == 2) decode_record_v2(entry, view);
    if (version == 3) decode_record_v3(entry, view);
    if (version == 4) decode_record_v4(entry, view);
}

bool decodes(std::uint16_t version, const bytes& record) {
    journal_entry entry;
    decode(entry, version, record);
    return entry.valid == 1;
}

// One number at one place, at the edge of what passes and one step outside.
struct edge {
    const char* what;
    std::size_t at_v2, at_v3, at_v4;  // 0: the version has no such check
    std::size_t width;
    std::uint64_t inside, outside;
};

const edge edges[] = {
    {"minor version", 6, 6, 6, 2, 0, 1},
    {"time stamp", 32, 48, 0, 8, 1, 0},
    {"parent entry", 16, 24, 0, 6, 0xFFFFFFFE, 0xFFFFFFFF},
    {"parent entry above 32 bits", 20, 28, 0, 2, 0, 1},
    {"parent sequence", 22, 30, 30, 2, 0xF000, 0xF001},
    {"entry", 8, 8, 8, 6, 0xFFFFFFFE, 0xFFFFFFFF},
    {"sequence high", 14, 14, 14, 2, 0xF000, 0xF001},
    {"sequence low", 14, 14, 14, 2, 1, 0},
    {"usn", 24, 40, 40, 8, 1, 0},
    {"attributes", 52, 68, 0, 4, 0x500000, 0x500001},
};

void poke_width(bytes& record, std::size_t at, std::size_t width, std::uint64_t value) {
    std::memcpy(record.data() + at, &value, width);
}

TEST(UsnRecord, EveryFieldCheckHasItsEdge) {
    for (const std::uint16_t version : all_versions) {
        for (const edge& check : edges) {
            const std::size_t at = version == 2 ? check.at_v2 : version == 3 ? check.at_v3 : check.at_v4;
            if (at == 0) continue;
            bytes record = usn_record_builder{.version = version}.build();
            poke_width(record, at, check.width, check.inside);
            EXPECT_TRUE(decodes(version, record)) << check.what << ", version " << version;
            poke_width(record, at, check.width, check.outside);
            EXPECT_FALSE(decodes(version, record)) << check.what << ", version " << version;
        }
    }
}

TEST(UsnRecord, LengthBoundsOfEachVersion) {
    const struct {
        std::uint16_t version;
        std::uint32_t shortest;
    } rows[] = {{2, 62}, {3, 78}, {4, 64}};
    for (const auto& row : rows) {
        bytes record = usn_record_builder{.version = row.version, .name = u"a"}.build();
        record.resize(5000);
        for (const auto& [length, passes] :
             {std::pair{row.shortest - 1, false}, {row.shortest, true}, {4096U, true}, {4097U, false}}) {
            poke<std::uint32_t>(record, 0, length);
            EXPECT_EQ(header_is_plausible(byte_view(record)), passes) << row.version << ": " << length;
            EXPECT_EQ(decodes(row.version, record), passes) << row.version << ": " << length;
        }
        poke<std::uint32_t>(record, 0, row.shortest);
        record.resize(row.shortest);
        EXPECT_TRUE(decodes(row.version, record));
        for (record.pop_back(); !record.empty(); record.pop_back()) {
            EXPECT_FALSE(decodes(row.version, record)) << "cut at " << record.size();
        }
    }
    for (const std::uint16_t version : unknown_versions) {
        bytes record = usn_record_builder{}.build();
        poke<std::uint16_t>(record, 4, version);
        EXPECT_FALSE(header_is_plausible(byte_view(record))) << version;
    }
}

TEST(UsnRecord, NameMustEndInsideTheRecord) {
    for (const std::uint16_t version : named_versions) {
        bytes record = usn_record_builder{.version = version, .name = u"abcdefgh"}.build();
        const std::size_t fixed = version == 2 ? 60 : 76;
        const std::size_t name_length_at = version == 2 ? 56 : 72;
        const auto room = static_cast<std::uint16_t>(record.size() - fixed);
        poke<std::uint16_t>(record, name_length_at, room);
        EXPECT_TRUE(decodes(version, record));
        poke<std::uint16_t>(record, name_length_at, static_cast<std::uint16_t>(room + 1));
        EXPECT_FALSE(decodes(version, record));
        poke<std::uint16_t>(record, name_length_at, 2);
        poke<std::uint16_t>(record, name_length_at + 2,
                            static_cast<std::uint16_t>(fixed + 2));  // and begin at its place
        EXPECT_FALSE(decodes(version, record));
    }
    // In version 2 the sum is taken in 16 bits: a wrapped length passes, and the name stops at the available bytes.
    bytes record = usn_record_builder{.name = u"a"}.build();
    poke<std::uint16_t>(record, 56, 0xFFFE);
    journal_entry entry;
    decode(entry, 2, record);
    EXPECT_EQ(entry.valid, 1);
    EXPECT_EQ(entry.name, std::u16string({u'a', 0}));
    record.resize(200, 'x');
    decode(entry, 2, record);
    EXPECT_EQ(entry.name.size(), 10U);
    record = usn_record_builder{.version = 3, .name = u"a"}.build();
    poke<std::uint16_t>(record, 72, 0xFFFE);
    EXPECT_FALSE(decodes(3, record));
}

TEST(UsnRecord, LongNamesKeepTheirBeginning) {
    for (const std::uint16_t version : named_versions) {
        journal_entry entry;
        decode(entry, version, usn_record_builder{.version = version, .name = std::u16string(200, u'n')}.build());
        EXPECT_EQ(entry.name, std::u16string(200, u'n'));
        decode(entry, version, usn_record_builder{.version = version, .name = std::u16string(201, u'n')}.build());
        EXPECT_EQ(entry.name, std::u16string(10, u'n'));
    }
}

TEST(UsnRecord, FieldsArriveAndAFailedRecordLeavesNone) {
    for (const std::uint16_t version : all_versions) {
        journal_entry entry;
        entry.parent_path = "kept";
        const bytes record = usn_record_builder{.version = version}.build();
        decode(entry, version, record, 0x7000);
        EXPECT_EQ(entry.file_ref, reference(42, 3));
        EXPECT_EQ(entry.parent_ref, reference(5, 5));
        EXPECT_EQ(entry.usn, 0x1000);
        EXPECT_EQ(entry.reason, 0x80000102);
        EXPECT_EQ(entry.source_info, 0x51U);
        EXPECT_EQ(entry.record_offset, 0x7000U);
        EXPECT_EQ(entry.timestamp, version == 4 ? 0U : 133'485'408'001'234'567U);
        EXPECT_EQ(entry.security_id, version == 4 ? 0U : 0x107U);
        EXPECT_EQ(entry.file_attributes, version == 4 ? 0U : 0x20U);
        EXPECT_EQ(entry.name, version == 4 ? u"" : u"report.docx");
        EXPECT_EQ(entry.parent_path, version == 4 ? "" : "kept");
        decode(entry, version, bytes(100), 0x7000);
        EXPECT_EQ(entry.valid, 0);
        EXPECT_EQ(entry.file_ref | entry.parent_ref | entry.timestamp | entry.record_offset, 0U);
        EXPECT_EQ(entry.reason | entry.source_info | entry.security_id | entry.file_attributes, 0U);
        EXPECT_EQ(entry.usn, 0);
        EXPECT_EQ(entry.name, u"");
    }
}

TEST(UsnRecord, CarvingBoundsEntryNumbersByItsOwnLimit) {
    const bytes record = usn_record_builder{.file_ref = reference(999, 1), .parent_ref = reference(500, 1)}.build();
    EXPECT_TRUE(check_record_v2(byte_view(record), 1000));
    EXPECT_FALSE(check_record_v2(byte_view(record), 999));
    const bytes other = usn_record_builder{.file_ref = reference(5, 1), .parent_ref = reference(500, 1)}.build();
    EXPECT_FALSE(check_record_v2(byte_view(other), 500));
}

}  // namespace
