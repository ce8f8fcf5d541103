// The walk over a journal's bytes: without -complete, and with it and its account.
#include "journal/journal_intake.h"
#include "made_records.h"

#include <gtest/gtest.h>

namespace {

std::string walked(const bytes& chunk, std::uint64_t offset = 0) {
    run_meter meter;
    journal_intake intake(meter);
    intake.walk(byte_view(chunk, offset));
    return listed(intake.records());
}

// What a chunk yields without and with the option, how many records the first one leaves out, the account.
std::string walked_both_ways(const bytes& chunk) {
    run_meter meter;
    journal_intake usual(meter), complete(meter, true);
    usual.walk(byte_view(chunk));
    complete.walk(byte_view(chunk));
    return listed(usual.records()) + " (" + std::to_string(usual.reduced_records()) + ") | " +
           listed(complete.records()) + " | " + account_text(complete.account());
}

bytes page_of(std::initializer_list<bytes> pieces) {
    bytes page = joined(pieces);
    fill_page(page);
    return page;
}

TEST(WalkChunk, SkipsZerosAndDamageByThePageAndEndsAtARecordPastTheEnd) {
    const bytes one = record_named(u"one"), two = record_named(u"two"), lost = record_named(u"lost"),
                minor_one = with_number(one, 6, 2, 1), longer = with_number(one, 0, 4, 4097);
    EXPECT_EQ(
        walked(joined({bytes(4096), page_of({one, bytes(8), lost}), page_of({minor_one, lost}), two, one}), 0x10000),
        "one@69632 two@77824 one@77896");
    EXPECT_EQ(walked(bytes(65536)), "");
    for (const std::ptrdiff_t tail : {1, 3, 4, 7, 64}) {  // too short for a length, a header, the record
        EXPECT_EQ(walked(joined({one, bytes(two.begin(), two.begin() + tail)})), "one@0");
    }
    // Even in the first of two pages, by a byte, and whatever its version says: the length alone decides.
    EXPECT_EQ(walked(joined({page_of({one, longer}), lost})), "one@0");
    // Failed records and those of version 4 come first, the rest by their time.
    const auto at_time = [](std::uint64_t time, std::u16string name, std::uint16_t version = 2) {
        return usn_record_builder{.version = version, .name = std::move(name), .timestamp = time}.build();
    };
    EXPECT_EQ(walked(joined({at_time(2000, u"late"), at_time(1000, u"early"), at_time(0, u"", 4),
                             with_number(one, 24, 8, 0), at_time(1000, u"again", 3)}),
                     100),
              "@244 -@0 early@172 again@396 late@100");
}

TEST(CompleteWalk, KeepsWhatIsSoundAndAccountsForTheRest) {
    const bytes x = record_named(u"x");
    const std::string only_complete = "-@0 (1) | x@0 | read 1 records",
                      neither = "-@0 (0) |  | read 1 records: 1 not sound";
    const std::tuple<bytes, std::string> cases[] = {
        {with_number(x, 24, 8, 0), only_complete},                        // USN
        {with_number(x, 52, 4, 0x501620), only_complete},                 // attributes of a cloud file
        {with_number(x, 8, 8, reference(40, 0xF001)), only_complete},     // sequence number
        {with_number(x, 8, 8, reference(0xFFFFFFFF, 1)), only_complete},  // entry number
        {with_number(x, 52, 4, 0x500000), "x@0 (0) | x@0 | read 1 records"},
        {with_number(x, 16, 8, reference(0xFFFFFFFFFFFF, 1)), neither},
        {with_number(x, 32, 8, 0), neither},  // time
        {record_named(std::u16string(255, u'n')), "10@0 (1) | 255@0 | read 1 records"},
        {record_named(std::u16string(200, u'n')), "200@0 (0) | 200@0 | read 1 records"},
        {record_named(u"", 0, 4), "-@0 (1) | @0 | read 1 records"},
        {{'x', 0, 'y'}, " (0) |  | read 0 records; 3 bytes were no records"},
        // Behind damage the next record is found, and zeros are nothing: five bytes among them, a header that is no
        // record, in whose bytes a record begins, and a word at the end of the next page.
        {joined({page_of({record_named(u"one"),
                          bytes(24),
                          {1, 0, 0, 0, 2},
                          bytes(11),
                          with_number(with_number(x, 32, 8, 0), 0, 4, 256),
                          record_named(u"two")}),
                 bytes(4088), bytes(8, 0xEE), record_named(u"three")}),
         "one@0 three@8192 (0) | one@0 two@176 three@8192 | "
         "read 4 records: 1 not sound; 13 bytes were no records"}};
    for (const auto& [chunk, found] : cases) EXPECT_EQ(walked_both_ways(chunk), found);
}

TEST(CompleteWalk, ABadSectorCostsWhatTouchesIt) {
    for (const int fill : {0, 1, 127}) {
        bytes page;
        std::string untouched;
        for (char16_t letter = u'A'; letter < u'A' + 30; ++letter) {
            const bytes record = record_named({letter, u'-', u'-', u'-', u'-'});  // of 72 bytes
            if (page.size() + record.size() <= 512 || page.size() >= 1024) {
                untouched += (untouched.empty() ? "" : " ") + std::string(1, static_cast<char>(letter)) + "----@" +
                             std::to_string(page.size());
            }
            append(page, record);
        }
        std::fill_n(page.begin() + 512, 512, static_cast<std::uint8_t>(fill));
        run_meter meter;
        journal_intake complete(meter, true);
        complete.walk(byte_view(page));
        EXPECT_EQ(listed(complete.records()), untouched);
    }
}

}  // namespace
