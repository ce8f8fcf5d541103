#include "ntfs/directory_index.h"

#include "base/utf.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

made_attribute allocation(const std::vector<made_run>& runs, std::uint64_t first_vcn = 0) {
    return {.type = 0xA0, .name = u"$I30", .runs = run_list(runs), .first_vcn = first_vcn, .real_size = 1};
}

TEST(DirectoryIndex, RootAndAllocationInPiecesAndOddPlaces) {
    ntfs_image_builder made;
    made.build();
    // The blocks at LCN 100 and behind name entries 40 to 45, one each.
    for (std::uint64_t i = 0; i < 6; ++i) made.write((100 + i) * 4096, index_block_of({40 + i}));
    const auto expect_children = [&made](const std::vector<made_attribute>& attributes,
                                         const std::set<std::uint64_t>& children) {
        made.put(30, {.attributes = attributes, .flags = 3});
        opened_volume opened(made.image);
        work_budget budget(readings::looked_up_indexes, made.image.size());
        std::set<std::uint64_t> found;
        EXPECT_TRUE(opened.volume.mount() && get_children_nodes(opened.volume.mft(), 30, budget, found));
        EXPECT_EQ(found, children);
    };
    expect_children({index_root({50}), allocation({{100, 2}, {104, 1}})}, {40, 41, 44, 50});  // whatever its size
    made_attribute other = index_root({50});
    other.name = u"$O";
    made_attribute not_names = index_root({50});
    not_names.value[0] = 0x90;
    expect_children({other, not_names}, {});

    const made_attribute list =
        attribute_list({list_entry(0x90, 33, 0), list_entry(0xA0, 32, 0), list_entry(0xA0, 31, 0)});
    made.put(31, {.attributes = {allocation({{100, 2}})}, .base = 30});
    made.put(33, {.attributes = {index_root({50})}, .base = 30});
    for (const std::uint64_t first_vcn : {2U, 3U}) {  // the second time with a gap before it
        made.put(32, {.attributes = {allocation({{103, 2}}, first_vcn)}, .base = 30});
        expect_children({list}, {40, 41, 43, 44, 50});
    }
}

TEST(DirectoryIndex, EntriesBehindTheFirstAreAtMost768BytesLong) {
    const auto children_of = [](std::uint32_t total, std::uint16_t first, std::uint16_t second) {
        bytes node = index_node({40, 41});
        node.resize(8192);
        node = poked(poked(node, 16 + index_entry::length, first), index_node_header::total_size, total);
        const std::uint64_t moved[]{reference(41, 1), second, reference(42, 1), 24};
        std::memcpy(node.data() + 16 + first, moved, 16);
        std::memcpy(node.data() + 16 + first + second, moved + 2, 16);
        std::set<std::uint64_t> children;
        collect_index_node(byte_view(node), children);
        return children;
    };
    using numbers = std::set<std::uint64_t>;
    EXPECT_EQ(children_of(4095, 24, 768), (numbers{40, 41, 42}));
    EXPECT_EQ(children_of(4095, 24, 769), (numbers{40}));
    EXPECT_EQ(children_of(4095, 1000, 768), (numbers{40, 41, 42}));
    EXPECT_EQ(children_of(4096, 24, 768), (numbers{}));
}

TEST(PathLookup, FindsByEveryWayToWriteAPathAndFollowsLinksWhenAsked) {
    // \Docs (30) with "Long name.txt" (40), "in extension" (41), $UsnJrnl (42); \$Extend (31) with $UsnJrnl; links.
    ntfs_image_builder made;
    made.build();
    const auto put = [&made](std::uint64_t entry, const std::vector<made_attribute>& attributes) {
        made.put(entry, {.attributes = attributes, .flags = 3});
    };
    put(5, {index_root({5, 30, 31, 34, 35, 36, 37, 38, 60})});  // 60 has no record
    put(30, {name_attribute(u"Docs"), index_root({40, 41, 42})});
    put(31, {name_attribute(u"$Extend"), index_root({42})});
    put(40, {name_attribute(u"LONGNA~1.TXT", 0, name_space::dos), name_attribute(u"Long name.txt")});
    put(41, {attribute_list({list_entry(attribute_type::file_name, 43, 0)})});
    put(42, {name_attribute(u"$UsnJrnl", 0, name_space::posix)});
    made.put(43, {.attributes = {name_attribute(u"in extension")}, .base = 41});
    put(34, {name_attribute(u"junction"), reparse_point(0xA0000003, u"C:\\Docs")});
    put(35, {name_attribute(u"absolute"), reparse_point(0xA000000C, u"\\docs")});
    put(36, {name_attribute(u"relative"), reparse_point(0xA000000C, u"docs", true)});
    put(37, {name_attribute(u"loop"), reparse_point(0xA0000003, u"\\loop")});
    put(38, {name_attribute(u"tagged"), reparse_point(0x80000013, u"\\docs")});
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    constexpr std::uint64_t none = 0;
    const struct {
        std::u16string_view path;
        std::uint64_t found, followed = found;
    } cases[] = {
        {u"\\$Extend\\$UsnJrnl:$J", 42},
        {u"/$EXTEND//$USNJRNL:$j", 42},
        {u"C:\\$Extend\\ $UsnJrnl \\", 42},
        {u"\\\\?\\globalroot\\DEVICE\\HarddiskVolumeShadowCopy12\\docs", 30},
        {u"\\\\.\\SnapID_{00000000-0000-0000-0000-000000000000}\\docs", 30},
        {u"\\docs\\long name.txt", 40},
        {u"\\docs\\in extension", 41},
        {u"\\", 5},
        {u"", none},
        {u"\\docs\\longna~1.txt", none},
        {u"\\docs\\$usnjrnl\\x", none},
        {u"\\docs/$usnjrnl", none},
        {u"\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy12", none},
        {u"\\junction", 34, 30},
        {u"\\junction\\Long name.txt", none, 40},
        {u"\\absolute\\Long name.txt", none, 40},
        {u"\\relative", 36},
        {u"\\tagged", 38},
        {u"\\loop\\x", none},
    };
    for (const auto& [path, found, followed] : cases) {
        EXPECT_EQ(opened.volume.paths().find(path, link_mode::stay).value_or(none), found) << to_utf8(path);
        EXPECT_EQ(opened.volume.paths().find(path, link_mode::follow).value_or(none), followed) << to_utf8(path);
    }
    EXPECT_NE(opened.said.find("err: too many links\ninode not found for \\loop\\x\n"), std::string::npos);
    EXPECT_LT(opened.said.size(), 20'000U);
}

}  // namespace
