#include "journal/sound_record.h"

#include "made_records.h"

#include <gtest/gtest.h>

#include <array>

namespace {

bool is_sound(const bytes& record, bool stray = false) {
    sound_record out;
    return stray ? read_sound_stray(byte_view(record), out) : read_sound_record(byte_view(record), out);
}

TEST(SoundRecord, EachRuleAlone) {
    constexpr std::uint64_t last_entry = 0xFFFF'FFFF'FFFE, year_1990 = 122'756'256'000'000'000,
                            year_2101 = 157'784'544'000'000'000;
    // A field set to one value that passes and one that does not, by its offset in version 2.
    const struct {
        std::size_t at, width;
        std::uint64_t good, bad;
        bool stray;  // wanted of free space only
    } limits[] = {
        {0, 4, 88, 84, false},  // length
        {4, 2, 2, 5, false},    // major version
        {6, 2, 0, 1, false},    // minor version
        {8, 8, reference(last_entry, 1), reference(last_entry + 1, 1), false},
        {16, 8, reference(last_entry, 1), reference(last_entry + 1, 1), false},
        {8, 8, reference(42, 0xFFFF), 42, true},
        {16, 8, reference(5, 0xFFFF), 5, true},
        {24, 8, 0, 4, true},  // USN
        {24, 8, ~0ULL >> 1U & ~7ULL, ~7ULL, true},
        {32, 8, year_1990, year_1990 - 1, true},
        {32, 8, year_2101 - 1, year_2101, true},
        {32, 8, year_1990, 0, false},
        {40, 4, 0x81FFFF77, 0x8, true},      // reason
        {52, 4, 0x501620, 0x501620, false},  // attributes: any
        {56, 2, 22, 20, true},               // name's bytes: two less end 8 bytes earlier
        {56, 2, 28, 30, false},              // to the record's end
        {56, 2, 22, 23, false},              // half a unit
        {58, 2, 60, 62, true},               // name's offset
        {58, 2, 66, 68, false},
        {58, 2, 60, 58, false},
        {62, 2, u'x', 0, true},  // a NUL in the name
    };
    for (const auto& one : limits) {
        const bytes record = usn_record_builder{}.build(), good = with_number(record, one.at, one.width, one.good),
                    bad = with_number(record, one.at, one.width, one.bad);
        EXPECT_TRUE(is_sound(good)) << one.at;
        EXPECT_EQ(is_sound(bad), one.stray || one.good == one.bad) << one.at;
        if (!one.stray) continue;
        EXPECT_TRUE(is_sound(good, true)) << one.at;
        EXPECT_FALSE(is_sound(bad, true)) << one.at;
    }
}

TEST(SoundRecord, EveryVersionWholeAndNeverOutside) {
    for (const std::uint16_t version : std::array<std::uint16_t, 3>{2, 3, 4}) {
        const std::u16string name(version == 4 ? 0 : 255, u'n');
        bytes record = usn_record_builder{.version = version, .name = name, .usn = 0, .attributes = 0x501620}.build();
        sound_record out;
        ASSERT_TRUE(read_sound_record(byte_view(record), out)) << version;
        EXPECT_EQ(std::tuple(out.version, out.length, out.name.size(), out.beyond_ntfs),
                  std::tuple(version, record.size(), 2 * name.size(), false));
        EXPECT_EQ(is_sound(record, true), version != 4);
        if (version != 2) {
            record[31] = 1;  // the parent's high half
            EXPECT_TRUE(read_sound_record(byte_view(record), out) && !out.beyond_ntfs);
            record[39] = 1;
            EXPECT_TRUE(read_sound_record(byte_view(record), out) && out.beyond_ntfs);
        }
        for (record.pop_back(); !record.empty(); record.pop_back()) ASSERT_FALSE(is_sound(record));
    }
}

// Every place of a NUL among the units that are looked at together and alone.
TEST(SoundRecord, FindsANulAnywhereInAName) {
    for (std::size_t at = 0; at <= 11; ++at) {
        std::u16string name = u"\x0100\x0001\u8000\x0100\x0001\u8000\x0100\x0001\u8000\x0100\x0001";
        if (at < name.size()) name[at] = 0;
        const bytes record = usn_record_builder{.name = name}.build();
        sound_record out;
        EXPECT_TRUE(read_sound_record(byte_view(record), out));
        EXPECT_EQ(out.name_holds_nul(), at < name.size()) << at;
    }
}

}  // namespace
