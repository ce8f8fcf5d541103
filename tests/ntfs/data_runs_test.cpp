#include "ntfs/data_runs.h"

#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

std::string decoded(const bytes& list, std::uint64_t first_vcn = 0) {
    extent_list extents;
    make_extents(decode_runs(byte_view(list), first_vcn), extents);
    return text_of(extents);
}

TEST(DataRuns, DecodeDeltasHolesAndFieldsOfAnyWidth) {
    EXPECT_EQ(decoded({0x21, 0x10, 0x00, 0x01, 0x11, 0x08, 0xF0, 0}), "256@0+16 240@16+8");
    EXPECT_EQ(decoded({0x11, 4, 5, 0x01, 0x20, 0x11, 1, 1}),
              "5@0+4 -@4+32 6@36+1");                                 // the list ends with the attribute
    EXPECT_EQ(decoded({0x11, 4, 0, 0x11, 2, 0}), "0@0+4 -@4+2");      // only the first run of a stream may lie at LCN 0
    EXPECT_EQ(decoded({0x11, 4, 0, 0x11, 2, 9}, 7), "-@7+4 9@11+2");  // a later piece
    EXPECT_EQ(decoded({0x18, 0, 0, 0, 0, 0, 0, 0, 0x10, 5}), "5@0+1152921504606846976");
    EXPECT_EQ(decoded({0x11, 1, 100, 0x81, 1, 255, 255, 255, 255, 255, 255, 255, 255}), "100@0+1 99@1+1");
    EXPECT_EQ(decoded({0x10, 5, 0x11, 1, 1}), "6@0+1");  // a run of no length moves the LCN only
}

TEST(DataRuns, DamageEndsTheListWithWhatCameBefore) {
    EXPECT_EQ(decoded({0, 0x11, 1, 1}), "");
    EXPECT_EQ(decoded({0x11, 4, 5, 0x21, 1, 7}), "5@0+4");
    EXPECT_EQ(decoded({0x11, 4, 5, 0x91, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}), "5@0+4");
    EXPECT_EQ(decoded({0x11, 4, 5, 0x19, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}), "5@0+4");
    EXPECT_EQ(decoded({0x18, 255, 255, 255, 255, 255, 255, 255, 255, 5, 0x11, 1, 1}), "5@0+18446744073709551615");
    EXPECT_EQ(decoded({0x11, 2, 5}, ~std::uint64_t{1}), "");
}

TEST(Extents, OfSeveralPiecesComeIntoOneOrder) {
    extent_list extents{{100, 10, 10}, {50, 0, 12}, {0, 18, 6, true}, {7, 20, 1}, {1, 30, 2}, {9, 30, 3}};
    put_in_vcn_order(extents);
    EXPECT_EQ(text_of(extents), "50@0+12 102@12+8 -@20+4 1@30+2 11@32+1");
    EXPECT_EQ(extent_bytes(extents, 4096, false), 27U * 4096);
    EXPECT_EQ(extent_bytes(extents, 4096, true), 23U * 4096);
    EXPECT_EQ(end_in_bytes(extents, 4096), 33U * 4096);
    EXPECT_EQ(end_in_bytes(extent_list{{0, 0, std::uint64_t{1} << 52U, true}}, 4096), ~std::uint64_t{0});
    std::string holders;
    for (const std::uint64_t vcn : {0U, 12U, 23U, 24U, 32U, 33U}) {
        std::size_t index = 9;
        holders += std::to_string(find_extent(extents, vcn, index) ? index : 9) +
                   std::to_string(extent_at_or_behind(extents, vcn)) + " ";
    }
    EXPECT_EQ(holders, "00 11 22 93 44 95 ");
}

TEST(Extents, ClaimNoMoreThanTwiceTheSource) {
    constexpr std::uint64_t endless = 1000;
    extent_list extents{{0, 0, endless}, {5, 1000, 10},       {0, 2000, endless, true},
                        {0, 3000, 100},  {95, 4000, endless}, {200, 5000, 7}};
    limit_claims(extents, 100);
    EXPECT_EQ(text_of(extents), "0@0+1000 5@1000+10 -@2000+1000 95@4000+1000 200@5000+7");
}

}  // namespace
