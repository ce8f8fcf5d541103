// The carving passes over volumes made byte by byte: what the scan takes, damage, and what no formatter writes.
#include "journal/carving.h"

#include "journal/carving_scan.h"
#include "journal/journal_collection.h"
#include "ntfs/opened_volume.h"

#include <gtest/gtest.h>

namespace {

bytes record_named(std::u16string name) { return usn_record_builder{.name = std::move(name)}.build(); }

// Pieces, each at its place, with zeros between them.
bytes laid_out(std::size_t size, const std::vector<std::pair<std::size_t, bytes>>& pieces) {
    bytes out(size);
    for (const auto& [at, piece] : pieces) std::ranges::copy(piece, out.data() + at);
    return out;
}

struct carving {
    explicit carving(bytes image = {}, std::uint64_t volume_offset = 0) : disk(std::move(image), volume_offset) {
        run.journal = &journal;
    }
    // "name@cluster+byte", in order of arrival.
    [[nodiscard]] std::string found(std::uint64_t unit) const {
        std::string text;
        journal_entry entry;
        for (std::size_t i = 0; i < journal.size(); ++i) {
            journal.read_in_order(i, entry);
            text += (i == 0 ? "" : " ") + std::string(entry.name.begin(), entry.name.end()) + "@" +
                    std::to_string(entry.record_offset / unit) + "+" + std::to_string(entry.record_offset % unit);
        }
        return text;
    }
    opened_volume disk;
    journal_collection journal;
    usnjrnl_context run;
    std::string shown;
    progress_sink progress = [this](std::string_view text) { shown.append(text).append("\n"); };
};

TEST(carving_scan, takes_records_at_block_starts_and_chains_behind_them) {
    const bytes a = record_named(u"a"), b = record_named(u"b"), c = record_named(u"c");  // 64 bytes each
    const auto length_only = [](std::uint32_t length) { return poked(bytes(64), 0, length); };
    const struct {
        bytes chunk;
        std::string found;
    } cases[] = {
        {laid_out(12288, {{0, a}, {64, b}, {4096, c}}), "a@0+0 b@0+64 c@1+0"},
        {laid_out(12288, {{64, a}, {4096 + 8, b}, {8192, c}}), "c@2+0"},
        {laid_out(8192, {{0, length_only(64)}, {64, a}, {4096, b}}), "b@1+0"},
        {laid_out(8192, {{0, length_only(8192)}, {4096, b}}), "b@1+0"},
        {laid_out(8192, {{0, length_only(8193)}, {4096, b}}), ""},
        {laid_out(8192, {{0, a}, {64, length_only(8129)}, {4096, b}}), "a@0+0"},
        {bytes(a.begin(), a.end() - 1), ""},
        {laid_out(67, {{0, a}, {64, {64, 0, 0}}}), "a@0+0"},
    };
    for (const auto& [chunk, found] : cases) {
        carving on;
        journal_entry scratch;
        EXPECT_EQ(carve_chunk(on.run, byte_view(chunk), scratch), !found.empty());
        EXPECT_EQ(on.found(4096), found);
    }
}

TEST(carve_unallocated, survives_damage_cluster_by_cluster) {
    ntfs_image_builder made{.cluster_size = 512, .clusters = 8192, .mft_clusters = 128};
    made.build();
    bytes bitmap(1024, 0xFF);
    std::fill_n(bitmap.begin() + 125, 125, std::uint8_t{0});  // 1000 to 1999
    poke<std::uint8_t>(bitmap, 625, 0xFE);                    // 5000
    made.write(200 * 512, bitmap);
    made.put(6, {.attributes = {{.runs = run_list({{200, 2}}), .real_size = 1024}}});
    for (const std::size_t lcn : {1000U, 1200U, 1201U, 5000U}) made.write(lcn * 512, record_named(u"r"));

    const std::string all = "r@1000+0 r@1200+0 r@1201+0 r@5000+0";
    const struct {
        std::size_t clusters, bad;
        std::string found;
        std::uint64_t lost;
    } cases[] = {{8192, 0, all, 0},
                 {8192, 1200, "r@1000+0 r@1201+0 r@5000+0", 512},
                 {8192, 200, "r@5000+0", 512},
                 {8192, 201, "r@1000+0 r@1200+0 r@1201+0", 512},
                 {1900, 0, "r@1000+0 r@1200+0 r@1201+0", 101 * 512}};
    for (const auto& [clusters, bad, found, lost] : cases) {
        carving on({made.image.begin(), made.image.begin() + static_cast<std::ptrdiff_t>(clusters * 512)});
        ASSERT_TRUE(on.disk.volume.mount());
        if (bad != 0) on.disk.faults.bad = {{bad * 512, bad * 512 + 512}};
        EXPECT_TRUE(carve_unallocated(on.disk.volume, on.run, on.progress));
        EXPECT_EQ(on.found(512), found);
        EXPECT_EQ(on.run.lost_bytes, lost);
        if (lost != 0) continue;
        EXPECT_EQ(on.shown,
                  "looking for unalloc cluster\nanalyzing cluster 1752 of 8192\nlooking for unalloc cluster\n"
                  "looking for unalloc cluster\nanalyzing results - formatting output\n");
    }
}

TEST(carve_slack, looks_behind_each_stream_once) {
    ntfs_image_builder made{};
    made.build();
    const auto file = [](std::vector<made_run> runs, std::uint64_t size, std::uint32_t type = attribute_type::data,
                         std::uint64_t vcn = 0) {
        return made_attribute{.type = type, .runs = run_list(runs), .first_vcn = vcn, .real_size = size};
    };
    made.put(0, {.attributes = {file({{2, 16}}, 65536)}});
    const made_record records[] = {
        {.attributes = {file({{100, 2}}, 4096 + 9)}},
        {.attributes = {file({{102, 1}}, 8)}, .flags = 0},
        {.attributes = {file({{103, 1}}, 4096)}},
        {.attributes = {file({{104, 1}}, 100, attribute_type::index_allocation), file({{105, 1}}, 8, 0xB0)}},
        {.attributes = {file({{106, 1}}, 8, 0xC0)}},
        {.attributes = {file({{107, 1}, {hole, 1}}, 4096 + 8)}},
        {.attributes = {file({{101, 1}}, 12)}},  // that of the first again
        {.attributes = {file({{108, 1}}, 8, attribute_type::data, 5)}},
        {.attributes = {attribute_list({list_entry(0x80, 32, 0), list_entry(0x80, 33, 1)}), file({{109, 1}}, 8200)}},
        {.attributes = {{.id = 1, .runs = run_list({{110, 2}}), .first_vcn = 1}}, .base = reference(32, 0)},
        {.attributes = {file({{112, 1}}, 8)}, .base = reference(32, 7)},  // of a file that is gone
        {.attributes = {file({{113, 1}}, 4090)}},
        {.attributes = {file({{200, 57}}, 8)}},  // the volume ends before its last cluster
        {.attributes = {file({{114, 1}}, 8)}},
    };
    std::uint64_t entry = 24;
    for (const made_record& record : records) made.put(entry++, record);
    for (std::size_t lcn = 100; lcn < 120; ++lcn) {
        const std::size_t start = lcn == 101 ? 16 : lcn == 104 ? 104 : 8;
        made.write(lcn * 4096 + start, record_named(u"r"));
    }
    bytes disk(512);
    append(disk, made.image);
    append(disk, laid_out(4096, {{8, record_named(u"next")}}));  // another volume
    carving on(disk, 512);
    ASSERT_TRUE(on.disk.volume.mount());
    on.disk.faults.bad = {{512 + 114 * 4096, 512 + 115 * 4096}};
    EXPECT_TRUE(carve_slack(on.disk.volume, on.run, on.progress));
    EXPECT_EQ(on.found(4096), "r@101+528 r@102+520 r@104+616 r@105+520 r@111+520 r@112+520");
    EXPECT_EQ(on.run.lost_bytes, 4096U);
    EXPECT_EQ(on.shown, "analyzing entry 0 of 64\nanalyzing entry 53 of 64\nanalyzing results - formatting output\n");
}

TEST(carve_shadow_stores, keeps_to_what_the_catalog_still_says) {
    const bytes id{0x6B, 0x87, 0x08, 0x38, 0x76, 0xC1, 0x48, 0x4E, 0xB7, 0xAE, 0x04, 0x04, 0x6E, 0x6C, 0xC7, 0x52};
    const bytes block = laid_out(128, {{0, id}, {20, {2}}});
    bytes catalog = laid_out(2048, {{0, block}});
    const struct {
        std::uint8_t type, store;
        std::uint64_t header, file;
    } slots[] = {{3, 2, 1000 * 512, 10}, {2, 2, 0, 0},  {2, 3, 0, 0},           {3, 4, 1000 * 512, 0}, {4, 1, 0, 13},
                 {3, 1, 1ULL << 40U, 9}, {1, 5, 0, 99}, {3, 5, 2047 * 512, 11}, {3, 6, 0, 40},         {3, 7, 0, 13}};
    std::size_t slot_at = 128;
    for (const auto& [type, store, header, file] : slots) {  // by the text of its identifier store 1 comes first
        std::ranges::copy(laid_out(20, {{0, {type}}, {16, {static_cast<std::uint8_t>(0xA0 - store)}}, {19, {store}}}),
                          catalog.data() + slot_at);
        poke<std::uint64_t>(catalog, slot_at + 32, header);
        poke<std::uint64_t>(catalog, slot_at + 56, reference(file, 7));
        slot_at += 128;
    }

    ntfs_image_builder made{.cluster_size = 512, .clusters = 2048, .mft_clusters = 128};
    made.build();
    const auto put_catalog = [&made](const bytes& content, std::uint64_t size) {
        const auto name = name_attribute(u"{3808876B-C176-4e48-b7ae-04046e6cc752}");
        made.put(8, {.attributes = {name, {.runs = run_list({{200, 4}}), .real_size = size}}});
        made.write(200 * 512, content);
    };
    made.put(5, {.attributes = {index_root({7})}});
    made.put(7, {.attributes = {name_attribute(u"system VOLUME Information"), index_root({8})}});
    for (const std::uint64_t n : {9U, 10U, 11U, 13U}) {
        const std::size_t lcn = 300 + 10 * n;
        made.put(n, {.attributes = {{.runs = run_list({{lcn, 2}, {hole, 1}, {lcn + 5, 1}}), .real_size = 2048}}});
        for (std::size_t i = 0; i < 9; ++i) made.write(lcn * 512 + i * 64, record_named(u"r"));  // of 64 bytes
        made.write((lcn + 5) * 512, record_named(u"l"));
    }
    made.write(1000 * 512, laid_out(256, {{0x90, id}, {0xC0, {4, 0, 'a', 0, 'b', 0, 2, 0, 'c', 0}}}));
    made.write(2047 * 512, laid_out(512, {{0x90, id}, {0xC0, {0xFF, 0xFF, 'a', 0}}}));

    for (const auto& [content, size] : {std::pair{catalog, std::uint64_t{1023}}, {catalog, 100}, {bytes(2048), 2048}}) {
        put_catalog(content, size);
        carving on(made.image);
        EXPECT_FALSE(carve_shadow_stores(on.disk.volume, on.run, on.progress));
        EXPECT_EQ(on.shown, "");
    }
    put_catalog(catalog, 2048);
    carving on(made.image);
    ASSERT_TRUE(on.disk.volume.mount());
    on.disk.faults.bad = {{403 * 512, 404 * 512}};  // of no store, though the pieces before it reach over it
    EXPECT_TRUE(carve_shadow_stores(on.disk.volume, on.run, on.progress));
    std::string expected;
    for (const std::string cluster : {"39", "40", "41"}) {  // what begins the second cluster is in two pieces
        for (int i = 0; i < 8; ++i) expected += "r@" + cluster + "0+" + std::to_string(i * 64) + " ";
        expected += "r@" + cluster + "1+0 r@" + cluster + "1+0 l@" + cluster + "5+0 ";
    }
    EXPECT_EQ(on.found(512) + " ", expected);
    EXPECT_EQ(on.run.lost_bytes, 0U);
    EXPECT_EQ(on.shown, "analyzing entry 0\n");
    const std::string none = "00000000-0000-0000-0000-000000000000", copy = "3808876b-c176-4e48-b7ae-04046e6cc752";
    journal_entry entry;
    on.journal.read_in_order(0, entry);
    EXPECT_EQ(entry.snapshot_label, "SnapID: " + none);
    on.journal.read_in_order(11, entry);
    EXPECT_EQ(entry.snapshot_label, "SnapID: " + copy);
    EXPECT_NE(on.disk.said.find("0200009e-0000-0000-0000-000000000000, SnapID: " + copy + ", ab, c\n"),
              std::string::npos);
}

}  // namespace
