#include "storage/salvage.h"

#include "support/memory_source.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A source of 4000 bytes with bad places and, where it has them, holes.
struct damaged_source {
    explicit damaged_source(std::vector<std::pair<std::uint64_t, std::uint64_t>> bad,
                            std::vector<std::pair<std::uint64_t, std::uint64_t>> data = {{0, 4000}}) {
        faults.bad = std::move(bad);
        reader.open(std::make_unique<memory_source>(std::vector<std::uint8_t>(4000, 7), 1, true, &faults, data));
    }
    read_faults faults;
    disk_reader reader;
};

std::string text_of(const loss_list& losses) {
    std::string text;
    for (const loss& one : losses) text += std::to_string(one.begin) + "-" + std::to_string(one.end) + " ";
    return text;
}

TEST(Salvage, LosesUnitsAndWhatLiesBehindTheEnd) {
    const auto lost = [](std::uint64_t offset, std::size_t length, const salvage_rule& rule) {
        damaged_source source({{1000, 1001}, {1450, 1460}});
        std::vector<std::uint8_t> into(length);
        loss_list losses;
        const bool whole = read_around_damage(source.reader, offset, into, rule, losses);
        EXPECT_EQ(whole, losses.empty());
        return text_of(losses) + std::to_string(source.faults.reads);
    };
    EXPECT_EQ(lost(0, 1000, {.unit = 100}), "1");
    EXPECT_EQ(lost(950, 1000, {.unit = 100}), "0-100 500-600 11");  // units from the first byte on
    EXPECT_EQ(lost(950, 1000, {.unit = 400}), "0-400 400-800 4");
    EXPECT_EQ(lost(900, 1000, {.unit = 100, .stop_at_loss = true}), "100-1000 3");
    EXPECT_EQ(lost(900, 1000, {.unit = 2000}), "0-1000 1");  // nothing is asked for twice
    EXPECT_EQ(lost(3500, 1000, {.unit = 100}), "500-1000 1");
    EXPECT_EQ(lost(1400, 2650, {.unit = 1000}), "0-1000 2600-2650 4");
    EXPECT_EQ(lost(5000, 100, {.unit = 100}), "0-100 0");

    const loss_list losses{{10, 20}, {20, 30}, {50, 60}};
    for (const auto& [at, end, readable] :
         {std::tuple{0U, 100U, 10U}, {0U, 5U, 5U}, {15U, 40U, 15U}, {30U, 100U, 50U}, {60U, 100U, 100U}}) {
        EXPECT_EQ(readable_up_to(losses, at, end), readable) << at;
    }
}

TEST(Salvage, KeepsTheBeginningOfAUnitWhenAsked) {
    for (const bool keep : {false, true}) {
        damaged_source source({{1234, 1300}});
        source.faults.tells_beginnings = true;
        std::vector<std::uint8_t> into(1000);
        loss_list losses;
        EXPECT_FALSE(read_around_damage(source.reader, 500, into, {.unit = 200, .keep_beginning = keep}, losses));
        EXPECT_EQ(text_of(losses), keep ? "734-800 " : "600-800 ");
        EXPECT_EQ(source.faults.reads, 3U);  // all, and the two units that it did not come through
    }
}

TEST(Salvage, PiecesLeaveOutHolesInWholeUnits) {
    const auto pieces_of = [](std::uint64_t begin, std::uint64_t end) {
        damaged_source source({{1500, 1501}}, {{150, 350}, {390, 410}, {1450, 1550}, {3990, 4000}});
        std::string text;
        read_pieces(source.reader, begin, end, {.unit = 100},
                    [&](std::uint64_t offset, std::span<std::uint8_t> piece, const loss_list& losses) {
                        text += std::to_string(offset) + "+" + std::to_string(piece.size()) + " " +
                                (losses.empty() ? "" : "(" + text_of(losses) + ") ");
                        return offset < 3000;
                    });
        return text;
    };
    EXPECT_EQ(pieces_of(0, 4000), "100+300 400+100 1400+200 (100-200 ) 3900+100 ");
    EXPECT_EQ(pieces_of(160, 395), "160+200 360+35 ");
    EXPECT_EQ(pieces_of(4000, 4000), "");
}

}  // namespace
