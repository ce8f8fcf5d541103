#include "ntfs/directory_path.h"

#include "base/utf.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

constexpr std::uint64_t root = reference(5, 5);

TEST(DirectoryPath, UpToTheRootOrToWhereTheChainIsBroken) {
    ntfs_image_builder made;
    made.build();
    const auto add = [&made](std::uint64_t entry, std::u16string_view name, std::uint64_t parent,
                             std::uint16_t flags = 3, std::uint16_t sequence = 1) {
        made.put(entry, {.attributes = {name_attribute(name, parent)}, .flags = flags, .sequence = sequence});
    };
    add(40, u"a", root);
    add(41, u"b", reference(40, 1));
    add(42, u"\u4E2D", reference(41, 0));  // any sequence number
    add(43, u".", reference(40, 1));
    add(44, u"in it", reference(43, 1));
    add(45, u"deleted", root, 2, 7);
    add(46, u"in deleted", reference(45, 6));
    add(50, u"own parent", reference(50, 1));
    add(51, u"one", reference(52, 1));
    add(52, u"other", reference(51, 1));
    add(53, u"any", reference(54, 0));
    add(54, u"sequence", reference(53, 0));
    add(55, u"no directory", root, 1);
    add(56, u"in it", reference(55, 1));
    add(57, u"reused", reference(51, 9));
    add(58, u"lost", reference(1000, 1));
    add(59, u"", root);
    add(60, u"in nameless", reference(59, 1));
    // The parent is that of the first name, the name the first that is not for DOS alone.
    const made_attribute dos = name_attribute(u"SHORT", reference(40, 1), name_space::dos);
    made.put(61, {.attributes = {dos, name_attribute(u"long one", 0, name_space::win32)}, .flags = 3});
    made.put(62, {.attributes = {dos}, .flags = 3});
    opened_volume opened(made.image);
    ASSERT_TRUE(opened.volume.mount());
    directory_path_cache paths(opened.volume.mft());
    directory_path found;
    for (const auto& [directory, path] : {std::pair{root, ""},
                                          {reference(42, 1), "a\\b\\\u4E2D\\"},
                                          {reference(41, 1), "a\\b\\"},
                                          {reference(44, 1), "a\\in it\\"},
                                          {reference(46, 1), "deleted\\in deleted\\"},
                                          {reference(42, 1), "a\\b\\\u4E2D\\"},
                                          {reference(42, 2), "<path corrupted>\\"},
                                          {reference(50, 1), "<path corrupted>\\own parent\\"},
                                          {reference(50, 0), "<path corrupted>\\own parent\\"},
                                          {reference(51, 1), "<path corrupted>\\other\\one\\"},
                                          {reference(52, 1), "<path corrupted>\\one\\other\\"},
                                          // Met again without its sequence number before the chain is seen to loop.
                                          {reference(53, 1), "<path corrupted>\\any\\sequence\\any\\"},
                                          {reference(56, 1), "<path corrupted>\\in it\\"},
                                          {reference(57, 1), "<path corrupted>\\reused\\"},
                                          {reference(58, 1), "lost\\"},
                                          {reference(60, 1), "<path corrupted>\\in nameless\\"},
                                          {reference(51, 1), "<path corrupted>\\other\\one\\"},
                                          {reference(61, 0), "a\\long one\\"},
                                          {reference(62, 0), "a\\SHORT\\"}}) {
        std::u16string text;
        ASSERT_TRUE(paths.build_directory_path(directory, found));
        paths.compose(found, text);
        EXPECT_EQ(to_utf8(text), std::string("[root]\\") + path);
    }
    EXPECT_FALSE(paths.build_directory_path(~std::uint64_t{0}, found));
}

TEST(DirectoryPath, IsNoLongerThan32767UnitsWithItsRoot) {
    ntfs_image_builder made{.mft_clusters = 64};
    made.build();
    const auto add = [&made](std::uint64_t entry, std::size_t length, std::uint64_t parent) {
        made.put(entry, {.attributes = {name_attribute(std::u16string(length, u'n'), parent)}, .flags = 3});
    };
    // "[root]\\" and 128 names of 254 with what ends each: 32647.
    for (std::uint64_t entry = 40; entry < 168; ++entry) add(entry, 254, entry == 40 ? root : reference(entry - 1, 0));
    add(168, 119, reference(167, 0));
    add(169, 120, reference(167, 0));
    for (const bool known : {false, true}) {  // the way up from their parent
        opened_volume opened(made.image);
        ASSERT_TRUE(opened.volume.mount());
        directory_path_cache paths(opened.volume.mft());
        directory_path found;
        EXPECT_TRUE(!known || paths.build_directory_path(reference(167, 0), found));
        EXPECT_TRUE(paths.build_directory_path(reference(169, 0), found) && found.corrupted);
        EXPECT_TRUE(paths.build_directory_path(reference(168, 0), found) && !found.corrupted);
    }
}
