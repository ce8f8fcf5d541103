#include "ntfs/mft_children.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t data = attribute_type::data;

made_attribute piece(std::uint64_t first_vcn, const std::vector<made_run>& runs, std::uint64_t size = 0,
                     const char16_t* name = u"$J") {
    return {.name = name, .id = 3, .runs = run_list(runs), .first_vcn = first_vcn, .real_size = size};
}

// The $J stream of entry 30: "extents, real size", or why there is none.
std::string journal_of(const bytes& image) {
    opened_volume opened(image);
    mft_entry entry;
    ntfs_stream stream;
    if (!opened.volume.mount()) return "not mounted";
    if (!opened.volume.load_entry(30, entry)) return "not loaded";
    if (!collect_stream(entry, data, u"$J", opened.volume.cluster_size(), stream)) return "no stream";
    return text_of(stream.extents) + ", " + std::to_string(stream.real_size);
}

// Entry 30 names, in this order, the pieces of $J in records 42, 41 and 40; all of one attribute id.
ntfs_image_builder split_journal() {
    ntfs_image_builder made;
    made.build();
    made.put(30, {.attributes = {attribute_list({list_entry(0x10, 30, 0), list_entry(data, 42, 3),
                                                 list_entry(data, 41, 3), list_entry(data, 40, 3)}),
                                 piece(0, {{200, 1}}, 4096, u"")}});  // another stream of the file
    made.put(40, {.attributes = {{.id = 2, .runs = run_list({{99, 1}})}, piece(0, {{hole, 2}, {60, 3}}, 40000)},
                  .base = 30});
    made.put(41, {.attributes = {piece(5, {{50, 4}})}, .base = 30});
    made.put(42, {.attributes = {piece(9, {{90, 1}})}, .base = 30});
    return made;
}

TEST(LoadEntry, PiecesWithOneIdInSeveralRecordsFormOneStream) {
    ntfs_image_builder made = split_journal();
    EXPECT_EQ(journal_of(made.image), "-@0+2 60@2+3 50@5+4 90@9+1, 40000");
    // A piece whose record is gone leaves a gap; without the first one the stream is as long as its last extent goes.
    EXPECT_EQ(journal_of(poked(made.image, made.offset_of_record(41), signature_baad)), "-@0+2 60@2+3 90@9+1, 40000");
    EXPECT_EQ(journal_of(poked(made.image, made.offset_of_record(40), signature_indx)), "50@5+4 90@9+1, 40960");
    EXPECT_EQ(journal_of(poked(made.image, made.offset_of_record(30), 0U)), "not loaded");
}

TEST(LoadEntry, AListIsReadThroughItsRunsInOrderWhereverItClaimsToBegin) {
    ntfs_image_builder made = split_journal();
    bytes list;
    for (const std::uint64_t record : {42U, 41U, 40U}) append(list, list_entry(data, record, 3));
    made.write(std::size_t{100} * 4096, list);
    for (const std::uint64_t claimed : {std::uint64_t{0}, std::uint64_t{7}, ~std::uint64_t{0}}) {
        made.put(30,
                 {.attributes = {
                      {.type = 0x20, .runs = run_list({{100, 1}}), .first_vcn = claimed, .real_size = list.size()}}});
        EXPECT_EQ(journal_of(made.image), "-@0+2 60@2+3 50@5+4 90@9+1, 40000") << claimed;
    }
}

TEST(LoadEntry, ListsThatClaimMoreThanTheSourceHoldsEnd) {
    ntfs_image_builder made;
    made.build();
    std::vector<made_run> runs;  // of $MFT: one cluster after the other for many records
    for (std::uint64_t i = 0; i < 50; ++i) runs.push_back({2 + i % 2, 16});
    made.put(0, {.attributes = {{.runs = run_list(runs)}}});
    for (std::uint64_t i = 1; i < 64; ++i) made.put(i, {});
    made.put(30, {.attributes = {{.type = 0x20, .runs = run_list({{100, 64}}), .real_size = 64 * 4096}}});
    bytes list;
    for (std::uint64_t i = 0; i < 8192; ++i) append(list, list_entry(data, 100 + i, 0));
    made.write(std::size_t{100} * 4096, list);
    opened_volume opened(made.image);
    mft_entry entry;
    ASSERT_TRUE(opened.volume.mount() && opened.volume.load_entry(30, entry));
    EXPECT_GT(entry.records.size(), 100U);
    EXPECT_LE(entry.records.size(), 1026U);  // a megabyte has room for 1024
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(opened.volume.load_entry(30, entry));
    EXPECT_EQ(entry.records.size(), 1U);
}

// Names stand in extension records when a file has many.
TEST(MftChildren, ANameInAnExtensionRecordCountsForTheFileItsBaseReferenceNames) {
    constexpr std::uint64_t folder = reference(30, 1);
    ntfs_image_builder made;
    made.build();
    made.put(40, {.sequence = 7});
    made.put(41, {.attributes = {name_attribute(u"of 40", folder)}, .base = reference(40, 7)});
    made.put(42, {.attributes = {name_attribute(u"of the file that had it before", folder)}, .base = reference(40, 6)});
    made.put(43, {.attributes = {name_attribute(u"of a record that is no base", folder)}, .base = reference(41, 0)});
    made.put(44, {.attributes = {name_attribute(u"elsewhere", reference(30, 2)), name_attribute(u"here", folder)}});
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    std::vector<std::uint64_t> met;
    progress shown;
    visit_mft_children(
        opened.volume.mft(), [](std::uint64_t directory) { return directory == folder; },
        [&met](std::uint64_t, std::uint64_t file, const file_times&) { met.push_back(file); }, shown);
    EXPECT_EQ(met, (std::vector{reference(40, 7), reference(44, 0)}));
}

// Number of records, and the state and place of one.
std::string mft_of(const bytes& image, std::uint64_t entry) {
    opened_volume opened(image);
    std::vector<std::uint8_t> record;
    if (!opened.volume.mount()) return "not mounted";
    const bool good = opened.volume.read_record(entry, record) == record_state::good;
    const auto at = opened.volume.record_offset(entry);
    return std::to_string(opened.volume.mft().record_count()) + (good ? " good" : " bad") + " at " +
           (at ? std::to_string(*at) : "none");
}

TEST(Mount, PiecesOfTheMftAreFoundThroughThoseKnownSoFar) {
    ntfs_image_builder made;
    made.build();
    made.put(0,
             {.attributes = {attribute_list({list_entry(data, 0, 3), list_entry(data, 3, 3), list_entry(data, 7, 3)}),
                             piece(0, {{2, 1}}, 20480, u"")}});
    made.put(3, {.attributes = {piece(1, {{100, 1}}, 0, u"")}});
    made.write(100 * 4096 + 3 * 1024,
               made_record{.attributes = {piece(2, {{120, 2}, {110, 1}}, 0, u"")}}.build(1024));  // record 7
    made.write(110 * 4096 + 1024, made_record{}.build(1024));                                     // record 17
    EXPECT_EQ(mft_of(made.image, 17), "20 good at 451584");
    EXPECT_EQ(mft_of(made.image, 20), "20 bad at none");
    EXPECT_EQ(mft_of(poked(made.image, 100 * 4096 + 3 * 1024, 0U), 17), "8 bad at none");
    made.put(3, {.attributes = {piece(2, {{120, 2}, {110, 1}}, 0, u"")}});  // the piece between is gone
    EXPECT_EQ(mft_of(made.image, 17), "20 good at 451584");
}

}  // namespace
