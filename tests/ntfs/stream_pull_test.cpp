#include "ntfs/stream_pull.h"

#include "ntfs/data_runs.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

std::string decoded(const bytes& list, std::uint64_t first_vcn = 0) {
    extent_list extents;
    make_extents(decode_runs(byte_view(list), first_vcn), extents);
    return text_of(extents);
}

TEST(DataRuns, DeltasHolesFieldsOfAnyWidthAndDamage) {
    EXPECT_EQ(decoded({0x21, 0x10, 0x00, 0x01, 0x11, 0x08, 0xF0, 0}), "256@0+16 240@16+8");
    EXPECT_EQ(decoded({0x11, 4, 5, 0x01, 0x20, 0x11, 1, 1}), "5@0+4 -@4+32 6@36+1");  // ends with the attribute
    EXPECT_EQ(decoded({0x11, 4, 0, 0x11, 2, 0}), "0@0+4 -@4+2");      // only the first run of a stream may lie at LCN 0
    EXPECT_EQ(decoded({0x11, 4, 0, 0x11, 2, 9}, 7), "-@7+4 9@11+2");  // a later piece
    EXPECT_EQ(decoded({0x18, 0, 0, 0, 0, 0, 0, 0, 0x10, 5}), "5@0+1152921504606846976");
    EXPECT_EQ(decoded({0x11, 1, 100, 0x81, 1, 255, 255, 255, 255, 255, 255, 255, 255}), "100@0+1 99@1+1");
    EXPECT_EQ(decoded({0x10, 5, 0x11, 1, 1}), "6@0+1");  // a run of no length moves the LCN only
    // What came before the damage stays.
    EXPECT_EQ(decoded({0x11, 4, 5, 0x21, 1, 7}), "5@0+4");
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

// "20-35", or ".x16" for clusters of zeros, or "255~1000" for 1000 bytes of a cluster.
std::string clusters_of(byte_view chunk, std::size_t cluster_size) {
    std::string text;
    for (std::size_t at = 0; at < chunk.size();) {
        const auto first = chunk.value<std::uint32_t>(at);
        std::uint32_t count = 0;
        for (; at < chunk.size() && chunk.value<std::uint32_t>(at) == (first == 0 ? 0 : first + count); ++count) {
            at += std::min(cluster_size, chunk.size() - at);
        }
        text += " " + (first == 0 ? ".x" + std::to_string(count) : std::to_string(first));
        if (first != 0 && count > 1) text += "-" + std::to_string(first + count - 1);
    }
    return text + (chunk.size() % cluster_size == 0 ? "" : "~" + std::to_string(chunk.size() % cluster_size));
}

// What is pulled from 256 clusters: "@cluster clusters...;" for each chunk, and the bytes that are lost.
struct pulled_volume {
    std::uint32_t cluster_size = 4096;
    std::size_t image_size = 256 * std::size_t{cluster_size};
    std::vector<std::uint64_t> bad{};  // LCNs

    [[nodiscard]] std::string bytes_pulled(std::uint64_t size, const extent_list& extents) const {
        ntfs_image_builder made{.cluster_size = cluster_size};
        made.build().image.resize(image_size);
        opened_volume opened(std::move(made.image));
        if (!opened.volume.mount()) return "not mounted";
        for (const std::uint64_t lcn : bad) opened.faults.bad.emplace_back(lcn * cluster_size, lcn * cluster_size + 1);
        opened.faults.reads = 0;
        std::string text;
        const auto note = [&](byte_view chunk) {
            text += "@" + std::to_string(chunk.image_offset() / cluster_size) + clusters_of(chunk, cluster_size) + "; ";
        };
        ntfs_stream stream;
        stream.extents = extents;
        stream.real_size = size;
        std::uint64_t lost = 0;
        EXPECT_TRUE(pull_stream(opened.volume.clusters(), stream, note, lost));
        EXPECT_LE(opened.faults.reads, 50U) << text;
        return text + std::to_string(lost);
    }
    [[nodiscard]] std::string operator()(std::uint64_t clusters, const extent_list& extents) const {
        return bytes_pulled(clusters * cluster_size, extents);
    }
};

extent hole_at(std::uint64_t vcn, std::uint64_t length) { return {0, vcn, length, true}; }

constexpr std::uint64_t far = std::uint64_t{1} << 48U;

TEST(StreamPull, ChunksLieOnAGridAndEndWithTheSizeOrTheExtents) {
    const pulled_volume pulled;
    EXPECT_EQ(pulled(40, {{20, 0, 10}, {40, 10, 30}}), "@0 20-29 40-45; @16 46-61; @32 62-69; 0");
    EXPECT_EQ(pulled.bytes_pulled(16 * 4096 + 100, {{20, 0, 20}}), "@0 20-35; @16 36~100; 0");
    EXPECT_EQ(pulled.bytes_pulled(~std::uint64_t{0}, {{20, 0, 2}}), "@0 20-21; 9223372036854767615");  // of 2^63 - 1
    // Holes cost nothing, and chunks begin at pages of 4096 bytes.
    EXPECT_EQ(pulled(8, {{30, 0, 2}, hole_at(2, 3), {40, 5, 1}, hole_at(6, 2)}), "@0 30-31 .x3 40 .x2; 0");
    EXPECT_EQ(pulled(far + 20, {hole_at(0, far), {30, far, 20}}), "@281474976710656 30-45; @281474976710672 46-49; 0");
    EXPECT_EQ(pulled_volume{.cluster_size = 512}(16, {hole_at(0, 3), {60, 3, 13}}), "@8 65-72; 0");
}

TEST(StreamPull, WhatIsMissingIsCountedAndEndsTheChunkBeforeIt) {
    const pulled_volume pulled;
    EXPECT_EQ(pulled(22, {{30, 0, 2}, {40, 20, 2}}), "@0 30-31; @20 40-41; 73728");
    EXPECT_EQ(pulled(7, {{30, 0, 2}, hole_at(5, 1), {40, 6, 1}}), "@0 30-31; @6 40; 12288");
    EXPECT_EQ(pulled(15, {{20, 0, 10}, {40, 20, 10}}), "@0 20-29; 20480");  // the size ends inside the gap
    // A bad cluster costs itself; with small ones the next page is eight clusters on.
    EXPECT_EQ((pulled_volume{.bad = {25, 50}}(40, {{20, 0, 40}})),
              "@0 20-24; @6 26-35; @16 36-49; @31 51; @32 52-59; 8192");
    EXPECT_EQ((pulled_volume{.cluster_size = 65536, .bad = {63}}(20, {{60, 0, 20}})),
              "@0 60-62; @4 64-75; @16 76-79; 65536");
    // What lies behind the end of the source is lost in one step, also where its bytes would be 2^64 and more.
    const pulled_volume cut{.image_size = 255 * 4096 + 1000};
    EXPECT_EQ(cut(10, {{250, 0, 10}}), "@0 250-255~1000; 19480");
    EXPECT_EQ(cut(far + 1, {{256, 0, far}, {20, far, 1}}), "@281474976710656 20; 1152921504606846976");
    for (const std::uint64_t lcn : {std::uint64_t{1} << 52U, std::uint64_t{1} << 60U}) {
        EXPECT_EQ(cut(5, {{lcn, 0, 4}, {30, 4, 1}}), "@4 30; 16384");
    }
}

}  // namespace
