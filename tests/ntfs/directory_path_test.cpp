#include "ntfs/directory_path.h"

#include "base/utf.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

// Records of a volume with a large $MFT.
struct tree {
    tree() {
        made.clusters = 4096;
        made.mft_clusters = 2048;
        made.build();
    }
    void add(std::uint64_t entry, std::u16string_view name, std::uint64_t parent, std::uint16_t flags = 3,
             std::uint16_t sequence = 1) {
        made_attribute one = name_attribute(name);
        poke<std::uint64_t>(one.value, file_name_value::parent, parent);
        made.put(entry, {.attributes = {one}, .flags = flags});
        poke<std::uint16_t>(made.image, made.offset_of_record(entry) + mft_record::sequence_number, sequence);
    }
    std::string path(std::uint64_t directory) {
        if (!opened) {
            opened = std::make_unique<opened_volume>(made.image);
            EXPECT_TRUE(opened->volume.mount());
            paths = std::make_unique<directory_path_cache>(opened->volume);
        }
        directory_path found;
        if (!paths->build_directory_path(directory, found)) return "none";
        std::u16string text;
        paths->compose(found, text);
        return to_utf8(text);
    }
    ntfs_image_builder made;
    std::unique_ptr<opened_volume> opened;
    std::unique_ptr<directory_path_cache> paths;
};

constexpr std::uint64_t root = reference(5, 5);

TEST(DirectoryPath, UpToTheRoot) {
    tree made;
    made.add(40, u"a", root);
    made.add(41, u"b", reference(40, 1));
    made.add(42, u"\u4E2D", reference(41, 0));  // any sequence number
    made.add(43, u".", reference(40, 1));
    made.add(44, u"in it", reference(43, 1));
    made.add(45, u"deleted", root, 2, 7);
    made.add(46, u"in deleted", reference(45, 6));
    EXPECT_EQ(made.path(root), "[root]\\");
    EXPECT_EQ(made.path(reference(42, 1)), "[root]\\a\\b\\\u4E2D\\");
    EXPECT_EQ(made.path(reference(41, 1)), "[root]\\a\\b\\");
    EXPECT_EQ(made.path(reference(44, 1)), "[root]\\a\\in it\\");
    EXPECT_EQ(made.path(reference(46, 1)), "[root]\\deleted\\in deleted\\");
    EXPECT_EQ(made.path(~std::uint64_t{0}), "none");
    EXPECT_EQ(made.path(reference(42, 1)), "[root]\\a\\b\\\u4E2D\\");
    EXPECT_EQ(made.path(reference(42, 2)), "[root]\\<path corrupted>\\");
}

TEST(DirectoryPath, EndsWhereTheChainIsBroken) {
    tree made;
    made.add(40, u"own parent", reference(40, 1));
    made.add(41, u"one", reference(42, 1));
    made.add(42, u"other", reference(41, 1));
    made.add(43, u"any", reference(44, 0));
    made.add(44, u"sequence", reference(43, 0));
    made.add(45, u"no directory", root, 1);
    made.add(46, u"in it", reference(45, 1));
    made.add(47, u"reused", reference(41, 9));
    made.add(48, u"lost", reference(1000, 1));
    made.add(49, u"", root);
    made.add(50, u"in nameless", reference(49, 1));
    const std::string corrupted = "[root]\\<path corrupted>\\";
    EXPECT_EQ(made.path(reference(40, 1)), corrupted + "own parent\\");
    EXPECT_EQ(made.path(reference(41, 1)), corrupted + "other\\one\\");
    EXPECT_EQ(made.path(reference(42, 1)), corrupted + "one\\other\\");
    // 43 is met again without its sequence number before the chain is seen to loop.
    EXPECT_EQ(made.path(reference(43, 1)), corrupted + "any\\sequence\\any\\");
    EXPECT_EQ(made.path(reference(46, 1)), corrupted + "in it\\");
    EXPECT_EQ(made.path(reference(47, 1)), corrupted + "reused\\");
    EXPECT_EQ(made.path(reference(48, 1)), "[root]\\lost\\");
    EXPECT_EQ(made.path(reference(50, 1)), corrupted + "in nameless\\");
    EXPECT_EQ(made.path(reference(41, 1)), corrupted + "other\\one\\");
}

// A record's names in their order: the parent is that of the first, the name the first that is not for DOS alone.
TEST(DirectoryPath, OfSeveralNames) {
    tree made;
    made_attribute dos = name_attribute(u"SHORT", name_space::dos);
    made.add(40, u"above", root);
    poke<std::uint64_t>(dos.value, file_name_value::parent, reference(40, 1));
    made.made.put(41, {.attributes = {dos, name_attribute(u"long one", name_space::win32)}, .flags = 3});
    made.made.put(42, {.attributes = {dos}, .flags = 3});
    EXPECT_EQ(made.path(reference(41, 0)), "[root]\\above\\long one\\");
    EXPECT_EQ(made.path(reference(42, 0)), "[root]\\above\\SHORT\\");
}

// Deeper than a path can be long; each of the directories is asked for, the deepest first and last.
TEST(DirectoryPath, DepthIsBounded) {
    tree made;
    constexpr std::uint64_t first = 40;
    constexpr std::uint64_t count = 8000;
    for (std::uint64_t i = 0; i < count; ++i) {
        made.add(first + i, u"12345", i == 0 ? root : reference(first + i - 1, 1));
    }
    const auto steps = [&](std::uint64_t entry) {
        const std::string path = made.path(reference(entry, 1));
        return std::pair(std::ranges::count(path, '\\') - 1, path.find("<path corrupted>") != std::string::npos);
    };
    constexpr std::int64_t most = (32767 - 7) / 6;  // "[root]\" and so many names with their "\"
    EXPECT_EQ(steps(first + count - 1), std::pair(most + 1, true));
    for (std::uint64_t i = 0; i < count; i += 97) {
        const auto depth = static_cast<std::int64_t>(i) + 1;
        EXPECT_EQ(steps(first + i), depth <= most ? std::pair(depth, false) : std::pair(most + 1, true)) << i;
    }
    EXPECT_EQ(steps(first + count - 1), std::pair(most + 1, true));
}

}  // namespace
