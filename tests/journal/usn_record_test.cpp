#include "journal/usn_record.h"

#include "support/usn_record_builder.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint16_t versions[] = {2, 3, 4};

bool decode(journal_entry& entry, std::uint16_t version, const bytes& record, std::uint64_t offset = 0) {
    const byte_view view(record, offset);
    if (version == 2) decode_record_v2(entry, view);
    if (version == 3) decode_record_v3(entry, view);
    if (version == 4) decode_record_v4(entry, view);
    return entry.valid == 1;
}

bool decodes(std::uint16_t version, const bytes& record) {
    journal_entry entry;
    return decode(entry, version, record);
}

TEST(UsnRecord, EveryFieldCheckHasItsEdge) {
    // One number at one place of each version (0: no such check), at the edge of what passes and one step outside.
    const struct {
        const char* what;
        std::size_t at[3], width;
        std::uint64_t inside, outside;
    } edges[] = {{"minor version", {6, 6, 6}, 2, 0, 1},
                 {"time stamp", {32, 48, 0}, 8, 1, 0},
                 {"parent entry", {16, 24, 0}, 6, 0xFFFFFFFE, 0xFFFFFFFF},
                 {"parent entry above 32 bits", {20, 28, 0}, 2, 0, 1},
                 {"parent sequence", {22, 30, 30}, 2, 0xF000, 0xF001},
                 {"entry", {8, 8, 8}, 6, 0xFFFFFFFE, 0xFFFFFFFF},
                 {"sequence high", {14, 14, 14}, 2, 0xF000, 0xF001},
                 {"sequence low", {14, 14, 14}, 2, 1, 0},
                 {"usn", {24, 40, 40}, 8, 1, 0},
                 {"attributes", {52, 68, 0}, 4, 0x500000, 0x500001}};
    for (const auto& edge : edges) {
        for (const std::uint16_t version : versions) {
            const std::size_t at = edge.at[version - 2];
            if (at == 0) continue;
            bytes record = usn_record_builder{.version = version}.build();
            std::memcpy(record.data() + at, &edge.inside, edge.width);
            EXPECT_TRUE(decodes(version, record)) << edge.what << ", version " << version;
            std::memcpy(record.data() + at, &edge.outside, edge.width);
            EXPECT_FALSE(decodes(version, record)) << edge.what << ", version " << version;
        }
    }
}

TEST(UsnRecord, LengthBoundsOfEachVersion) {
    for (const auto& [version, shortest] : {std::pair<std::uint16_t, std::uint32_t>{2, 62}, {3, 78}, {4, 64}}) {
        bytes record = usn_record_builder{.version = version, .name = u"a"}.build();
        record.resize(5000);
        for (const std::uint32_t length : {shortest - 1, 4097U, 4096U, shortest}) {
            const bool passes = length == 4096 || length == shortest;
            poke<std::uint32_t>(record, 0, length);
            EXPECT_EQ(header_is_plausible(byte_view(record)), passes) << version << ": " << length;
            EXPECT_EQ(decodes(version, record), passes) << version << ": " << length;
        }
        record.resize(shortest);
        EXPECT_TRUE(decodes(version, record));
        for (record.pop_back(); !record.empty(); record.pop_back()) EXPECT_FALSE(decodes(version, record));
    }
    for (const unsigned version : {0U, 1U, 5U}) {
        bytes record = usn_record_builder{}.build();
        poke<std::uint16_t>(record, 4, static_cast<std::uint16_t>(version));
        EXPECT_FALSE(header_is_plausible(byte_view(record))) << version;
    }
}

TEST(UsnRecord, NamesEndInsideTheRecordAndLongOnesKeepTheirBeginning) {
    for (const std::uint16_t version : std::span(versions, 2)) {
        const std::uint32_t fixed = version == 2 ? 60 : 76;
        const bytes record = usn_record_builder{.version = version, .name = u"abcdefgh"}.build();
        const std::uint32_t room = static_cast<std::uint32_t>(record.size()) - fixed;
        const auto with = [&](std::uint32_t length, std::uint32_t offset) {
            bytes changed = record;
            poke<std::uint32_t>(changed, fixed - 4, length | offset << 16U);
            return decodes(version, changed);
        };
        EXPECT_TRUE(with(room, fixed));
        EXPECT_FALSE(with(room + 1, fixed));
        EXPECT_FALSE(with(2, fixed + 2));  // it begins at its place
        // In version 2 the sum is taken in 16 bits: a wrapped length passes, and the name stops at the available bytes.
        EXPECT_EQ(with(0xFFFE, fixed), version == 2);
        journal_entry entry;
        for (const std::size_t length : {200U, 201U}) {
            decode(entry, version,
                   usn_record_builder{.version = version, .name = std::u16string(length, u'n')}.build());
            EXPECT_EQ(entry.name, std::u16string(length == 200 ? 200 : 10, u'n'));
        }
    }
    bytes wrapped = usn_record_builder{.name = u"a"}.build();
    poke<std::uint16_t>(wrapped, 56, 0xFFFE);
    journal_entry entry;
    EXPECT_TRUE(decode(entry, 2, wrapped) && entry.name == std::u16string({u'a', 0}));
    wrapped.resize(200, 'x');
    EXPECT_TRUE(decode(entry, 2, wrapped) && entry.name.size() == 10);
}

TEST(UsnRecord, FieldsArriveAndAFailedRecordLeavesNone) {
    for (const std::uint16_t version : versions) {
        const bool full = version != 4;
        journal_entry entry;
        EXPECT_TRUE(decode(entry, version, usn_record_builder{.version = version}.build(), 0x7000));
        EXPECT_EQ(entry.file_ref, reference(42, 3));
        EXPECT_EQ(entry.parent_ref, reference(5, 5));
        EXPECT_TRUE(entry.usn == 0x1000 && entry.reason == 0x80000102);
        EXPECT_TRUE(entry.source_info == 0x51 && entry.record_offset == 0x7000);
        EXPECT_EQ(entry.timestamp, full ? 133'485'408'001'234'567U : 0U);
        EXPECT_EQ(entry.security_id, full ? 0x107U : 0U);
        EXPECT_EQ(entry.file_attributes, full ? 0x20U : 0U);
        EXPECT_EQ(entry.name, full ? u"report.docx" : u"");
        EXPECT_FALSE(decode(entry, version, bytes(100), 0x7000));
        EXPECT_EQ(entry.file_ref | entry.parent_ref | entry.timestamp | entry.record_offset, 0U);
        EXPECT_EQ(entry.reason | entry.source_info | entry.security_id | entry.file_attributes, 0U);
        EXPECT_TRUE(entry.usn == 0 && entry.name.empty());
    }
}

TEST(UsnRecord, CarvingBoundsEntryNumbersByItsOwnLimit) {
    const auto passes = [](std::uint64_t file, std::uint64_t parent, std::uint64_t limit) {
        const usn_record_builder made{.file_ref = reference(file, 1), .parent_ref = reference(parent, 1)};
        return check_record_v2(byte_view(made.build()), limit);
    };
    EXPECT_TRUE(passes(999, 500, 1000));
    EXPECT_FALSE(passes(999, 500, 999) || passes(5, 500, 500));
}

}  // namespace
