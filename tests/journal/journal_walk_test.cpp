#include "journal/journal_walk.h"

#include "journal/journal_file.h"
#include "support/usn_record_builder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

bytes record_named(const char16_t* name, std::uint64_t timestamp = 133'485'408'000'000'000, std::uint16_t version = 2) {
    return usn_record_builder{.version = version, .name = name, .timestamp = timestamp}.build();
}

// What the collection holds, in order: name and offset of each, "-" for one that failed its checks.
std::string in_order(journal_collection& journal) {
    std::string out;
    journal.put_in_order();
    journal_entry entry;
    for (std::size_t i = 0; i < journal.size(); ++i) {
        journal.read_in_order(i, entry);
        const std::string name(entry.name.begin(), entry.name.end());
        out += (entry.valid == 0     ? "-"
                : entry.name.empty() ? "v4"
                                     : name) +
               "@" + std::to_string(entry.record_offset) + " ";
    }
    return out;
}

std::string walked(const bytes& chunk, std::uint64_t offset = 0) {
    journal_collection journal;
    journal_entry scratch;
    const bool grew = walk_chunk(journal, byte_view(chunk, offset), scratch);
    EXPECT_EQ(grew, journal.size() != 0);
    return in_order(journal);
}

TEST(WalkChunk, SkipsZerosAndDamageByThePage) {
    bytes chunk(4096);  // a page of zeros
    append(chunk, record_named(u"one"));
    append(chunk, bytes(8));  // a length of 0: the rest of the page is lost
    append(chunk, record_named(u"lost"));
    fill_page(chunk);
    bytes minor_one = record_named(u"bad");
    poke<std::uint16_t>(minor_one, 6, 1);
    append(chunk, minor_one);
    append(chunk, record_named(u"lost"));
    fill_page(chunk);
    append(chunk, record_named(u"two"));
    append(chunk, record_named(u"three"));
    EXPECT_EQ(walked(chunk, 0x10000), "one@69632 two@77824 three@77896 ");
    EXPECT_EQ(walked(bytes(65536)), "");
}

TEST(WalkChunk, ARecordPastTheChunkEndsTheWalk) {
    bytes chunk = record_named(u"one");
    bytes cut = record_named(u"cut");
    cut.resize(cut.size() - 8);
    append(chunk, cut);
    EXPECT_EQ(walked(chunk), "one@0 ");
    // Even in the first of two pages, and whatever its version says: the length alone decides.
    fill_page(chunk);
    poke<std::uint32_t>(chunk, 72, 0x7000);
    append(chunk, record_named(u"never"));
    EXPECT_EQ(walked(chunk), "one@0 ");
    for (const std::size_t tail : {1U, 3U, 4U, 7U}) {  // too short for a length, or for a header
        bytes short_tail = record_named(u"one");
        append(short_tail, bytes(tail));
        EXPECT_EQ(walked(short_tail), "one@0 ");
    }
}

TEST(WalkChunk, CollectsFailedRecordsAndVersionFourUnderKeyZero) {
    bytes chunk = record_named(u"late", 2000);
    append(chunk, record_named(u"early", 1000));
    append(chunk, record_named(u"", 0, 4));
    bytes failed = record_named(u"x");
    poke<std::uint64_t>(failed, usn_v2::usn, 0);
    append(chunk, failed);
    append(chunk, record_named(u"early again", 1000, 3));
    EXPECT_EQ(walked(chunk, 100), "v4@244 -@0 early@172 early again@372 late@100 ");
}

class ExtractedJournal : public ::testing::Test {
protected:
    // Writes the pieces at their offsets, holes between them, and reads the file back.
    std::string read_back(const std::vector<std::pair<std::uint64_t, bytes>>& pieces, std::uint64_t size) {
        {
            std::ofstream out(path_, std::ios::binary | std::ios::trunc);
            for (const auto& [at, piece] : pieces) {
                out.seekp(static_cast<std::streamoff>(at));
                out.write(reinterpret_cast<const char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
            }
        }
        std::filesystem::resize_file(path_, size);
        journal_collection journal;
        usnjrnl_context run;
        run.journal = &journal;
        run.journal_path = path_;
        EXPECT_TRUE(read_extracted_journal(run));
        EXPECT_EQ(run.found_something, journal.size() != 0);
        return in_order(journal);
    }
    void TearDown() override { std::filesystem::remove(path_); }

    std::string path_ = (std::filesystem::temp_directory_path() / "lorq_extracted_journal_test").string();
};

TEST_F(ExtractedJournal, OffsetsAreThoseOfTheFileAcrossPiecesAndHoles) {
    constexpr std::uint64_t far = std::uint64_t{3} << 30U;
    EXPECT_EQ(
        read_back({{0, record_named(u"a", 1)}, {2'097'152 - 4096, record_named(u"b", 2)}, {far, record_named(u"c", 3)}},
                  far + 72),
        "a@0 b@2093056 c@3221225472 ");
    EXPECT_EQ(read_back({}, 1'000'000), "");
    EXPECT_EQ(read_back({{0, record_named(u"a")}}, 59), "");  // shorter than any record's fixed part
    EXPECT_EQ(read_back({}, 0), "");
}

TEST_F(ExtractedJournal, RecordsDoNotCrossThePagesOfTheGrid) {
    bytes page(4096 - 40);
    page[0] = 1;  // damage: the page is skipped
    append(page, record_named(u"crossing"));
    EXPECT_EQ(read_back({{0, page}, {8192, record_named(u"next")}}, 12288), "next@8192 ");
}

TEST(ExtractedJournalFile, IsRefusedWhenItCannotBeOpened) {
    usnjrnl_context run;
    run.journal_path = (std::filesystem::temp_directory_path() / "lorq_no_such_journal").string();
    EXPECT_FALSE(read_extracted_journal(run));
    run.journal_path = std::filesystem::temp_directory_path().string();
    EXPECT_FALSE(read_extracted_journal(run));
}

}  // namespace
