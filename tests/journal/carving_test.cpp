// The carving passes over volumes made byte by byte: damage, and what no formatter writes.
#include "journal/carving.h"

#include "journal/path_resolution.h"
#include "made_records.h"
#include "ntfs/opened_volume.h"

#include <gtest/gtest.h>

namespace {

struct carving {
    explicit carving(bytes image = {}, std::uint64_t volume_offset = 0) : disk(std::move(image), volume_offset) {
        progress_shown.show_with([this](std::string_view text) { shown.append(text).append("\n"); }, nullptr);
    }
    opened_volume disk;
    run_meter meter;
    journal_intake intake{meter};
    progress progress_shown;
    carving_run run{.volume = disk.volume, .intake = intake, .shown = progress_shown};
    std::string shown;
};

TEST(carve_unallocated, survives_damage_cluster_by_cluster) {
    ntfs_image_builder made{.cluster_size = 512, .clusters = 8192, .mft_clusters = 128};
    made.build();
    bytes bitmap(1024, 0xFF);
    std::fill_n(bitmap.begin() + 125, 125, std::uint8_t{0});  // 1000 to 1999
    poke<std::uint8_t>(bitmap, 625, 0xFE);                    // 5000
    made.write(200 * 512, bitmap);
    made.put(6, {.attributes = {{.runs = run_list({{200, 2}}), .real_size = 1024}}});
    for (const std::size_t lcn : {1000U, 1200U, 1201U, 5000U}) made.write(lcn * 512, record_named(u"r"));

    const struct {
        std::size_t clusters, bad, lost;
        const char* found;
    } cases[] = {{8192, 0, 0, "r@1000+0 r@1200+0 r@1201+0 r@5000+0"},
                 {8192, 1200, 512, "r@1000+0 r@1201+0 r@5000+0"},
                 {8192, 200, 512, "r@5000+0"},
                 {1900, 0, 101 * 512, "r@1000+0 r@1200+0 r@1201+0"}};
    for (const auto& [clusters, bad, lost, found] : cases) {
        carving on({made.image.begin(), made.image.begin() + static_cast<std::ptrdiff_t>(clusters * 512)});
        ASSERT_TRUE(on.disk.volume.mount());
        if (bad != 0) on.disk.faults.bad = {{bad * 512, bad * 512 + 512}};
        carve_unallocated(on.run);
        EXPECT_EQ(listed(on.intake.records(), 512), found);
        EXPECT_EQ(on.intake.lost_bytes(), lost);
        if (lost != 0) continue;
        EXPECT_EQ(on.shown,
                  "looking for unalloc cluster\nanalyzing cluster 1752 of 8192\nlooking for unalloc cluster\n"
                  "looking for unalloc cluster\nanalyzing results - formatting output\n");
    }
}

TEST(carve_unallocated, endless_volume_costs_what_is_there) {
    ntfs_image_builder made{};
    made.build();
    made.put(6, {.attributes = {{.runs = run_list({{hole, 1U << 30U}}), .real_size = 1ULL << 40U}}});
    poke<std::uint64_t>(made.image, boot_sector::total_sectors, 1ULL << 60U);
    made.write(200 * 4096, record_named(u"r"));
    for (const bool tells_size : {true, false}) {
        carving on;
        disk_reader reader;
        reader.open(std::make_unique<memory_source>(made.image, 1, tells_size));
        on.disk.volume.open_volume(std::move(reader), 0);
        carve_unallocated(on.run);
        EXPECT_EQ(listed(on.intake.records(), 4096), "r@200+0");
        EXPECT_EQ(on.intake.lost_bytes(), ((1ULL << 32U) - 8 - 256) * 4096);
        EXPECT_EQ(on.shown, "analyzing results - formatting output\n");
    }
}

// Texts that are too long to be kept are composed each time; those around them, kept or not, must not show.
TEST(resolve_journal_paths, composes_long_paths_for_each_record) {
    ntfs_image_builder made{};
    made.build();
    made.put(5, {.attributes = {name_attribute(u".", reference(5, 5)), index_root({40})}, .flags = 3, .sequence = 5});
    for (std::uint64_t i = 0; i < 3; ++i) {
        made.put(40 + i, {.attributes = {name_attribute(std::u16string(200, static_cast<char16_t>(u'a' + i)),
                                                        i == 0 ? reference(5, 5) : reference(39 + i, 1)),
                                         index_root({41 + i})},
                          .flags = 3,
                          .sequence = 1});
    }
    const std::string a = "[root]\\" + std::string(200, 'a') + "\\", b = a + std::string(200, 'b') + "\\",
                      c = b + std::string(200, 'c') + "\\";
    const std::pair<std::uint64_t, std::string> parents[] = {{reference(41, 1), b}, {reference(42, 1), c},
                                                             {reference(40, 1), a}, {reference(42, 1), c},
                                                             {reference(41, 1), b}, {reference(5, 5), "[root]\\"}};
    carving on(made.image);
    on.intake.records().number_pairs();
    for (journal_entry entry; const auto& [parent, path] : parents) {
        entry.file_ref = reference(50, 1);
        entry.parent_ref = parent;
        on.intake.records().add(entry);
    }
    ASSERT_TRUE(resolve_journal_paths(on.intake.records(), on.disk.volume, {}, on.progress_shown));
    ordered_reader records(on.intake.records(), on.meter);
    for (journal_entry entry; const auto& [parent, path] : parents) {
        ASSERT_TRUE(records.next(entry));
        EXPECT_EQ(entry.parent_path, path);
    }
}

TEST(carve_slack, looks_behind_each_stream_once) {
    ntfs_image_builder made{};
    made.build();
    const auto file = [](std::vector<made_run> runs, std::uint64_t size, std::uint32_t type = 0x80) {
        return made_attribute{.type = type, .runs = run_list(runs), .real_size = size};
    };
    made.put(0, {.attributes = {file({{2, 16}}, 65536)}});  // 64 entries
    const made_record records[] = {
        {.attributes = {file({{100, 2}}, 4096 + 9)}},
        {.attributes = {file({{102, 1}}, 8)}, .flags = 0},
        {.attributes = {file({{103, 1}}, 4096)}},
        {.attributes = {file({{104, 1}}, 8, 0xA0), file({{105, 1}}, 8, 0xB0), file({{106, 1}}, 8, 0xC0)}},
        {.attributes = {file({{107, 1}, {hole, 1}}, 4096 + 8)}},
        {.attributes = {file({{101, 1}}, 12)}},  // that of the first again
        {.attributes = {{.runs = run_list({{108, 1}}), .first_vcn = 5, .real_size = 8}}},
        {.attributes = {attribute_list({list_entry(0x80, 31, 0), list_entry(0x80, 32, 1)}), file({{109, 1}}, 8200)}},
        {.attributes = {{.id = 1, .runs = run_list({{110, 2}}), .first_vcn = 1}}, .base = reference(31, 0)},
        {.attributes = {file({{112, 1}}, 8)}, .base = reference(31, 7)},  // of a file that is gone
        {.attributes = {file({{200, 57}}, 8)}},                           // the volume ends before its last cluster
        {.attributes = {file({{114, 1}}, 8)}},
    };
    std::uint64_t entry = 24;
    for (const made_record& record : records) made.put(entry++, record);
    for (std::size_t at = 100 * 4096; at < 120 * 4096; at += 4096) {
        made.write(at + (at == 101 * 4096 ? 16 : 8), record_named(u"r"));
    }
    bytes disk(512);
    append(disk, made.image);
    append(disk, laid_out(4096, {{8, record_named(u"next")}}));  // another volume
    carving on(disk, 512);
    ASSERT_TRUE(on.disk.volume.mount());
    on.disk.faults.bad = {{512 + 114 * 4096, 512 + 115 * 4096},
                          {512 + 2 * 4096 + 40 * 1024, 512 + 2 * 4096 + 40 * 1024 + 1}};
    carve_slack(on.run);
    EXPECT_EQ(listed(on.intake.records(), 4096), "r@101+528 r@102+520 r@104+520 r@105+520 r@111+520 r@112+520");
    EXPECT_EQ(on.intake.lost_bytes(), 4096U + 1024);  // a cluster and a record of $MFT
    EXPECT_EQ(on.shown, "analyzing entry 0 of 64\nanalyzing entry 53 of 64\nanalyzing results - formatting output\n");
}

TEST(carve_slack, counts_what_too_many_claim) {
    ntfs_image_builder made{.clusters = 18};
    made.build();
    made.put(0, {.attributes = {{.runs = run_list({{2, 16}}), .real_size = 65536}}});
    made_record claims;
    for (const char16_t name : {u'a', u'b', u'c', u'd', u'e', u'f', u'g', u'h'}) {
        claims.attributes.push_back({.name = {name}, .runs = run_list({{1, 1}}), .real_size = 8});
    }
    for (std::uint64_t entry = 24; entry < 64; ++entry) made.put(entry, claims);
    carving on(made.image);
    ASSERT_TRUE(on.disk.volume.mount());
    carve_slack(on.run);
    EXPECT_EQ(on.intake.lost_bytes(), (40 * 8 - 16 * 18) * 4096U);  // 16 readings of each cluster, on the average
}

// A first word that is no record's ends a chunk unless there is more than a page behind it, and always where it is a
// length that the chunk does not have.
TEST(carve, ends_a_chunk_at_some_bad_words) {
    const bytes one = record_named(u"r"), word{9, 0, 0, 0}, far{0, 0, 1, 0};
    const std::tuple<std::size_t, bytes, const char*> cases[] = {{4096 + 64, word, "r@0+0"},
                                                                 {4096 + 72, word, "r@0+0 r@1+0"},
                                                                 {8192, far, "r@0+0"},
                                                                 {8192, bytes(4), "r@0+0 r@1+0"}};
    for (const auto& [size, behind, found] : cases) {
        carving on;
        const bytes chunk = laid_out(size, {{0, one}, {64, behind}, {4096, one}});
        on.intake.carve(byte_view(chunk), {.entry_bound = 100, .label = ""});
        EXPECT_EQ(listed(on.intake.records(), 4096), found) << size;
    }
}

// With the path to the catalog, which is at LCN 200, and the header of a store at 1000.
ntfs_image_builder volume_with_copies(const bytes& catalog) {
    ntfs_image_builder made{.cluster_size = 512, .clusters = 2048, .mft_clusters = 128};
    made.build();
    made.put(5, {.attributes = {index_root({7})}});
    made.put(7, {.attributes = {name_attribute(u"system VOLUME Information"), index_root({8})}});
    made.put(8, {.attributes = {name_attribute(u"{3808876B-C176-4e48-b7ae-04046e6cc752}"),
                                {.runs = run_list({{200, 4}}), .real_size = 2048}}});
    made.write(200 * 512, catalog);
    made.write(1000 * 512, laid_out(256, {{0x90, shadow_copy_id}, {0xC0, {4, 0, 'a', 0, 'b', 0, 2, 0, 'c', 0}}}));
    return made;
}

// The bound for entry numbers is that of the pass before, if there was one.
TEST(carve_shadow_stores, takes_the_entry_bound_as_it_finds_it) {
    ntfs_image_builder made = volume_with_copies(shadow_catalog({{3, 1, 1000 * 512, reference(9, 7)}}, 2048));
    made.put(0, {.attributes = {{.runs = run_list({{2, 128}}), .real_size = 65536}}});  // 64 entries
    made.put(6, {.attributes = {{.value = bytes(256, 0xFF)}}});
    made.put(9, {.attributes = {{.runs = run_list({{1100, 8}}), .real_size = 512}}});
    made.write(1100 * 512, usn_record_builder{.file_ref = reference(64, 1)}.build());
    for (const bool after_another : {false, true}) {
        carving on(made.image);
        if (after_another) carve_unallocated(on.run);
        carve_shadow_stores(on.run);
        EXPECT_EQ(on.intake.records().size(), after_another ? 0U : 1U);
    }
}

TEST(carve_shadow_stores, counts_what_a_volume_cannot_hold) {
    ntfs_image_builder made = volume_with_copies(shadow_catalog({{3, 1, 1000 * 512, reference(9, 7)}}, 2048));
    made.put(9, {.attributes = {{.runs = run_list({{1100, 900}, {1101, 900}, {1100, 900}}), .real_size = 512}}});
    carving on(made.image);
    carve_shadow_stores(on.run);
    EXPECT_EQ(on.intake.lost_bytes(), (2700 - 2048) * 512U);
    on.intake.lose(1, ~std::uint64_t{0} - 1 - on.intake.lost_bytes());
    carve_shadow_stores(on.run);
    EXPECT_EQ(on.intake.lost_bytes(), ~std::uint64_t{0});
}

TEST(carve_shadow_stores, keeps_to_what_the_catalog_still_says) {
    const auto file = [](std::uint64_t entry) { return reference(entry, 7); };
    const bytes catalog = shadow_catalog({{3, 2, 1000 * 512, file(10)},
                                          {2, 2, 0, 0},
                                          {2, 3, 0, 0},
                                          {3, 4, 1000 * 512, file(0)},
                                          {4, 1, 0, file(13)},
                                          {3, 1, 1ULL << 40U, file(9)},
                                          {1, 5, 0, file(99)},
                                          {3, 5, 2047 * 512, file(11)},
                                          {3, 6, 0, file(40)},
                                          {3, 7, 0, file(13)}},
                                         2048);
    ntfs_image_builder made = volume_with_copies(catalog);
    for (const std::uint64_t n : {9U, 10U, 11U, 13U}) {
        const std::size_t lcn = 300 + 10 * n;
        made.put(n, {.attributes = {{.runs = run_list({{lcn, 2}, {hole, 1}, {lcn + 5, 1}}), .real_size = 2048}}});
        for (std::size_t i = 0; i < 9; ++i) made.write(lcn * 512 + i * 64, record_named(u"r"));  // of 64 bytes
        made.write((lcn + 5) * 512, record_named(u"l"));
    }
    // A volume and a run without end.
    poke<std::uint64_t>(made.image, boot_sector::total_sectors, 1ULL << 60U);
    made.put(11, {.attributes = {{.runs = run_list({{410, 2}, {415, 1}, {2040, 1ULL << 50U}}), .real_size = 2048}}});
    made.write(2047 * 512, laid_out(512, {{0x90, shadow_copy_id}, {0xC0, {0xFF, 0xFF, 'a', 0}}}));
    carving on(made.image);
    ASSERT_TRUE(on.disk.volume.mount());
    on.disk.faults.bad = {{403 * 512, 404 * 512}};  // of no store, though the pieces before it reach over it
    carve_shadow_stores(on.run);
    // Of each store eight in the first cluster; what begins the second is in two pieces.
    EXPECT_EQ(on.intake.records().size(), 33U);
    EXPECT_TRUE(listed(on.intake.records(), 512).ends_with("r@410+384 r@410+448 r@411+0 r@411+0 l@415+0"))
        << listed(on.intake.records(), 512);
    constexpr std::uint64_t endless = ((1ULL << 50U) - 8) * 512;
    EXPECT_EQ(on.intake.lost_bytes(), endless);
    EXPECT_EQ(on.shown, "analyzing entry 0\n");

    carving with_holes(made.image);
    ASSERT_TRUE(with_holes.disk.volume.mount());
    with_holes.disk.faults.bad = {{201 * 512, 202 * 512}};  // of the catalog: store 1, at 390, stands there
    carve_shadow_stores(with_holes.run);
    EXPECT_TRUE(listed(with_holes.intake.records(), 512).starts_with("r@400+0 ") &&
                listed(with_holes.intake.records(), 512).ends_with(" l@415+0"));
    EXPECT_EQ(with_holes.intake.lost_bytes(), endless + 512);
    const std::string none = "00000000-0000-0000-0000-000000000000", copy = "3808876b-c176-4e48-b7ae-04046e6cc752";
    ordered_reader records(on.intake.records(), on.meter);
    journal_entry entry;
    ASSERT_TRUE(records.next(entry));
    EXPECT_EQ(entry.snapshot_label, "SnapID: " + none);
    for (int i = 0; i < 11; ++i) ASSERT_TRUE(records.next(entry));
    EXPECT_EQ(entry.snapshot_label, "SnapID: " + copy);
    EXPECT_NE(on.disk.said.find("0200009e-0000-0000-0000-000000000000, SnapID: " + copy + ", ab, c\n"),
              std::string::npos);
}

TEST(carve_shadow_stores, what_all_repeat_is_told_once) {
    const bytes one = record_named(u"one"), two = record_named(u"two"), both = joined({one, two});
    ntfs_image_builder made = volume_with_copies(shadow_catalog({{3, 1, 1000 * 512, reference(9, 7)},
                                                                 {3, 2, 1004 * 512, reference(10, 7)},
                                                                 {3, 3, 1008 * 512, reference(11, 7)}},
                                                                2048));
    for (std::size_t i = 0; i < 3; ++i) {
        made.write((1000 + 4 * i) * 512, laid_out(256, {{0x90, bytes(16, static_cast<std::uint8_t>(i + 1))}}));
        made.put(9 + i, {.attributes = {{.runs = run_list({{1100 + 10 * i, 1}}), .real_size = 512}}});
        made.write((1100 + 10 * i) * 512, i < 2 ? both : joined({one, with_number(two, 24, 8, 0x1008)}));  // the USN
    }
    carving on(made.image);
    on.intake.walk(byte_view(both));
    carve_shadow_stores(on.run);
    ordered_reader records(on.intake.records(), on.meter, true);
    std::string text;
    for (journal_entry entry; records.next(entry);) {
        text += std::string(entry.name.begin(), entry.name.end()) + (entry.origin == record_origin::journal ? "" : "*");
        for (const found_elsewhere& other : entry.also_in) text += " " + std::string(other.label.substr(8, 8));
        text += "\n";
    }
    EXPECT_EQ(text, "one 01010101 02020202 03030303\ntwo 01010101 02020202\ntwo*\n");
    EXPECT_EQ(records.repeats(), 5U);
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
    return listed(intake.records());
}

bytes among_garbage(std::size_t size, const std::vector<std::pair<std::size_t, bytes>>& pieces) {
    return laid_out(size, pieces, 0x11);
}

TEST(CompleteCarving, FindsAllVersionsAndEntriesAtAnyMultipleOfEight) {
    const bytes foreign = usn_record_builder{.name = u"old", .file_ref = reference(1000, 1)}.build();
    const bytes source = among_garbage(
        8192, {{8, record_named(u"two")}, {4000, record_named(u"three", 0x1000, 3)}, {5000, foreign}, {7001, foreign}});
    EXPECT_EQ(carved(source, 8192, 8192), "two@8 three@4000 old@5000!");
    EXPECT_EQ(carved(source, 8192, 8192, 0), "two@8 three@4000 old@5000");  // what the MFT has room for is not known
}

TEST(CompleteCarving, JoinsAcrossSmallClustersInsideAPage) {
    const auto long_one = [](std::uint64_t usn) { return record_named(std::u16string(255, u'n'), usn); };
    const bytes inside = long_one(4096 + 512);            // of 576 bytes: to the page's byte 1088
    const bytes header_of_none{0, 16, 0, 0, 2, 0, 0, 0};  // claims to go on in the next cluster
    const bytes source = among_garbage(
        8192, {{888, header_of_none}, {896, record_named(u"a")}, {960, inside}, {1536, record_named(u"b")}});
    EXPECT_EQ(carved(source, 1024, 1024), "a@896 255@960 b@1536");
    EXPECT_EQ(carved(source, 512, 512), "a@896 255@960 b@1536");  // over three of them
    EXPECT_EQ(carved(source, 1024, 0), "a@896 b@1536");           // the slack of files
    EXPECT_EQ(carved(source, 512, 512, 1000, 1024), "a@896 b@1536");
    EXPECT_EQ(carved(among_garbage(8192, {{3800, inside}}), 4096, 4096), "");
    EXPECT_EQ(carved(among_garbage(2048, {{960, long_one(8192 - 568)}}), 1024, 1024), "");
    EXPECT_EQ(carved(among_garbage(2048, {{960, long_one(8192 - 576)}}), 1024, 1024), "255@960");
}

}  // namespace
