// What -complete reads beside what other runs do: the walk with its account, and the scan for lost records.
#include "journal/journal_intake.h"
#include "journal/ordered_reader.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

namespace {

bytes record_named(std::u16string name, std::uint64_t usn = 0x1000, std::uint16_t version = 2) {
    return usn_record_builder{.version = version, .name = std::move(name), .usn = usn}.build();
}

bytes joined(std::initializer_list<bytes> pieces) {
    bytes out;
    for (const bytes& piece : pieces) append(out, piece);
    return out;
}

// The names of what was taken, each with its offset and the units of a long one, "!" for a foreign one.
std::string taken(const journal_intake& intake) {
    run_meter meter;
    ordered_reader records(intake.records(), meter);
    journal_entry entry;
    std::string out;
    while (records.next(entry)) {
        const std::string name(entry.name.begin(), entry.name.end());
        out += (entry.valid == 0  ? "-"
                : name.size() > 9 ? std::to_string(name.size())
                                  : name) +
               "@" + std::to_string(entry.record_offset) + (entry.foreign ? "! " : " ");
    }
    return out;
}

// What a chunk yields without and with the option, how many records the first one leaves out, the account.
std::string walked(const bytes& chunk) {
    run_meter meter;
    journal_intake usual(meter), complete(meter, true);
    usual.walk(byte_view(chunk));
    complete.walk(byte_view(chunk));
    return taken(usual) + "(" + std::to_string(usual.reduced_records()) + ") | " + taken(complete) + "| " +
           account_text(complete.account());
}

bytes with(std::size_t at, std::uint64_t value, std::size_t width = 8) {
    bytes record = record_named(u"x");
    for (std::size_t i = 0; i < width; ++i) record[at + i] = static_cast<std::uint8_t>(value >> 8 * i);
    return record;
}

TEST(CompleteWalk, KeepsWhatIsSoundAndAccountsForTheRest) {
    const std::string only_complete = "-@0 (1) | x@0 | read 1 records";
    EXPECT_EQ(walked(with(24, 0)), only_complete);                        // USN 0
    EXPECT_EQ(walked(with(52, 0x501620, 4)), only_complete);              // attributes of a cloud file
    EXPECT_EQ(walked(with(8, reference(40, 0xF001))), only_complete);     // sequence numbers
    EXPECT_EQ(walked(with(8, reference(0xFFFFFFFF, 1))), only_complete);  // entry numbers
    EXPECT_EQ(walked(with(52, 0x500000, 4)), "x@0 (0) | x@0 | read 1 records");
    EXPECT_EQ(walked(with(16, reference(0xFFFFFFFFFFFF, 1))), "-@0 (0) | | read 1 records: 1 not sound");
    EXPECT_EQ(walked(with(32, 0)), "-@0 (0) | | read 1 records: 1 not sound");  // no time
    EXPECT_EQ(walked(record_named(std::u16string(255, u'n'))), "10@0 (1) | 255@0 | read 1 records");
    EXPECT_EQ(walked(record_named(std::u16string(200, u'n'))), "200@0 (0) | 200@0 | read 1 records");
    EXPECT_EQ(walked(record_named(u"", 0, 4)), "-@0 (1) | @0 | read 1 records");

    // Behind damage the next record is found, and zeros are nothing: five bytes among them, a header that is no record,
    // in whose bytes a record begins, and a word at the end of the next page.
    bytes hurt = with(32, 0);
    poke<std::uint32_t>(hurt, 0, 256);
    bytes pages = joined({record_named(u"one"), bytes(24), {1, 0, 0, 0, 2}, bytes(11), hurt, record_named(u"two")});
    fill_page(pages);
    append(pages, bytes(4088));
    append(pages, bytes(8, 0xEE));
    append(pages, record_named(u"three"));
    EXPECT_EQ(walked(pages),
              "one@0 three@8192 (0) | one@0 two@176 three@8192 | "
              "read 4 records: 1 not sound; 13 bytes were no records");
    EXPECT_EQ(walked({'x', 0, 'y'}), "(0) | | read 0 records; 3 bytes were no records");
}

// 30 records of 72 bytes and a sector of garbage, whole and as a header of each version.
TEST(CompleteWalk, ABadSectorCostsWhatTouchesIt) {
    bytes page;
    for (char16_t n = 0; n < 30; ++n) append(page, record_named({u'r', static_cast<char16_t>(u'A' + n)}, 0x1000));
    for (std::size_t first = 0; first < 30 * 64; first += 64) {
        ASSERT_EQ(record_named(u"rA").size(), 64U);
        bytes damaged = page;
        std::fill_n(damaged.begin() + 512, 512, std::uint8_t{0xEE});
        run_meter meter;
        journal_intake complete(meter, true);
        complete.walk(byte_view(damaged));
        EXPECT_EQ(complete.records().size(), 22U);  // eight of 64 bytes stand in the sector
        EXPECT_EQ(account_text(complete.account()), "read 22 records; 512 bytes were no records");
    }
}

std::string carved(const bytes& source, std::size_t piece, std::uint32_t cluster_size, std::uint64_t bound = 1000,
                   std::size_t gap_behind = ~std::size_t{0}) {
    run_meter meter;
    journal_intake intake(meter, true);
    const carving_pass pass{.entry_bound = bound, .label = {}, .cluster_size = cluster_size};
    for (std::size_t at = 0; at < source.size(); at += piece) {
        const auto bytes_there = std::span(source).subspan(at, std::min(piece, source.size() - at));
        if (at != gap_behind) intake.carve(byte_view(bytes_there, at), pass);
    }
    return taken(intake);
}

bytes at_places(std::size_t size, const std::vector<std::pair<std::size_t, bytes>>& pieces) {
    bytes out(size, 0x11);
    for (const auto& [at, piece] : pieces) std::ranges::copy(piece, out.data() + at);
    return out;
}

TEST(CompleteCarving, FindsAllVersionsAndEntriesAtAnyMultipleOfEight) {
    const bytes foreign = usn_record_builder{.name = u"old", .file_ref = reference(1000, 1)}.build();
    const bytes source = at_places(
        8192, {{8, record_named(u"two")}, {4000, record_named(u"three", 0x1000, 3)}, {5000, foreign}, {7001, foreign}});
    EXPECT_EQ(carved(source, 8192, 8192), "two@8 three@4000 old@5000! ");
    EXPECT_EQ(carved(source, 8192, 8192, 0), "two@8 three@4000 old@5000 ");  // what the MFT has room for is not known
}

TEST(CompleteCarving, JoinsAcrossSmallClustersInsideAPage) {
    const bytes long_one =
        record_named(std::u16string(255, u'n'), 4096 + 512);  // of 576 bytes: to the page's byte 1088
    ASSERT_EQ(long_one.size(), 576U);
    bytes header_of_none(8);  // claims to go on in the next cluster
    poke<std::uint32_t>(header_of_none, 0, 4096);
    poke<std::uint16_t>(header_of_none, 4, 2);
    const bytes source = at_places(
        8192, {{888, header_of_none}, {896, record_named(u"a")}, {960, long_one}, {1536, record_named(u"b")}});
    EXPECT_EQ(carved(source, 1024, 1024), "a@896 255@960 b@1536 ");
    EXPECT_EQ(carved(source, 512, 512), "a@896 255@960 b@1536 ");  // over three of them
    EXPECT_EQ(carved(source, 1024, 0), "a@896 b@1536 ");           // the slack of files
    EXPECT_EQ(carved(source, 512, 512, 1000, 1024), "a@896 b@1536 ");
    EXPECT_EQ(carved(at_places(8192, {{3800, long_one}}), 4096, 4096), "");
    const bytes beyond = record_named(std::u16string(255, u'n'), 8192 - 568);
    const bytes fitting = record_named(std::u16string(255, u'n'), 8192 - 576);
    EXPECT_EQ(carved(at_places(2048, {{960, beyond}}), 1024, 1024), "");
    EXPECT_EQ(carved(at_places(2048, {{960, fitting}}), 1024, 1024), "255@960 ");
}

}  // namespace
