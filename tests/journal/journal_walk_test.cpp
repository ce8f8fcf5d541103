#include "journal/journal_walk.h"

#include "journal/journal_collection.h"
#include "journal/ordered_reader.h"
#include "journal/usn_record.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

namespace {

bytes record_named(const char16_t* name, std::uint64_t timestamp = 133'485'408'000'000'000, std::uint16_t version = 2) {
    return usn_record_builder{.version = version, .name = name, .timestamp = timestamp}.build();
}

// What a chunk yields, in order: name and offset of each, "v4" for no name, "-" for one that failed its checks.
std::string walked(const bytes& chunk, std::uint64_t offset = 0) {
    journal_collection journal;
    journal_entry entry;
    std::uint64_t reduced = 0;
    walk_chunk(journal, byte_view(chunk, offset), entry, reduced);
    std::string out;
    run_meter meter;
    ordered_reader records(journal, meter);
    while (records.next(entry)) {
        const std::string name(entry.name.begin(), entry.name.end());
        out += (entry.valid == 0 ? "-" : name.empty() ? "v4" : name) + "@" + std::to_string(entry.record_offset) + " ";
    }
    return out;
}

bytes joined(std::initializer_list<bytes> pieces) {
    bytes out;
    for (const bytes& piece : pieces) append(out, piece);
    return out;
}

bytes page_of(std::initializer_list<bytes> pieces) {
    bytes page = joined(pieces);
    fill_page(page);
    return page;
}

TEST(WalkChunk, SkipsZerosAndDamageByThePageAndEndsAtARecordPastTheEnd) {
    bytes minor_one = record_named(u"bad"), failed = record_named(u"x"), longer = record_named(u"cut");
    poke<std::uint16_t>(minor_one, 6, 1);
    poke<std::uint64_t>(failed, usn_v2::usn, 0);
    poke<std::uint32_t>(longer, 0, 4097);
    const bytes one = record_named(u"one"), two = record_named(u"two"), lost = record_named(u"lost");
    EXPECT_EQ(
        walked(joined({bytes(4096), page_of({one, bytes(8), lost}), page_of({minor_one, lost}), two, one}), 0x10000),
        "one@69632 two@77824 one@77896 ");
    EXPECT_EQ(walked(bytes(65536)), "");
    for (const std::ptrdiff_t tail : {1, 3, 4, 7, 64}) {  // too short for a length, a header, the record
        EXPECT_EQ(walked(joined({one, bytes(two.begin(), two.begin() + tail)})), "one@0 ");
    }
    // Even in the first of two pages, by a byte, and whatever its version says: the length alone decides.
    EXPECT_EQ(walked(joined({page_of({one, longer}), lost})), "one@0 ");
    // Failed records and those of version 4 come first, the rest by their time.
    EXPECT_EQ(walked(joined({record_named(u"late", 2000), record_named(u"early", 1000), record_named(u"", 0, 4), failed,
                             record_named(u"early again", 1000, 3)}),
                     100),
              "v4@244 -@0 early@172 early again@388 late@100 ");
}

}  // namespace
