#include "ntfs/directory_path.h"

#include "base/utf.h"
#include "opened_volume.h"

#include <gtest/gtest.h>

namespace {

struct tree {
    tree() { made.build(); }
    void add(std::uint64_t entry, std::u16string_view name, std::uint64_t parent, std::uint16_t flags = 3,
             std::uint16_t sequence = 1) {
        made.put(entry, {.attributes = {name_attribute(name, parent)}, .flags = flags, .sequence = sequence});
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

TEST(DirectoryPath, UpToTheRootOrToWhereTheChainIsBroken) {
    tree made;
    made.add(40, u"a", root);
    made.add(41, u"b", reference(40, 1));
    made.add(42, u"\u4E2D", reference(41, 0));  // any sequence number
    made.add(43, u".", reference(40, 1));
    made.add(44, u"in it", reference(43, 1));
    made.add(45, u"deleted", root, 2, 7);
    made.add(46, u"in deleted", reference(45, 6));
    made.add(50, u"own parent", reference(50, 1));
    made.add(51, u"one", reference(52, 1));
    made.add(52, u"other", reference(51, 1));
    made.add(53, u"any", reference(54, 0));
    made.add(54, u"sequence", reference(53, 0));
    made.add(55, u"no directory", root, 1);
    made.add(56, u"in it", reference(55, 1));
    made.add(57, u"reused", reference(51, 9));
    made.add(58, u"lost", reference(1000, 1));
    made.add(59, u"", root);
    made.add(60, u"in nameless", reference(59, 1));
    // The parent is that of the first name, the name the first that is not for DOS alone.
    const made_attribute dos = name_attribute(u"SHORT", reference(40, 1), name_space::dos);
    made.made.put(61, {.attributes = {dos, name_attribute(u"long one", 0, name_space::win32)}, .flags = 3});
    made.made.put(62, {.attributes = {dos}, .flags = 3});
    for (const auto& [directory, path] : {std::pair{root, ""},
                                          {reference(42, 1), "a\\b\\\u4E2D\\"},
                                          {reference(41, 1), "a\\b\\"},
                                          {reference(44, 1), "a\\in it\\"},
                                          {reference(46, 1), "deleted\\in deleted\\"},
                                          {reference(42, 1), "a\\b\\\u4E2D\\"},
                                          {reference(42, 2), "<path corrupted>\\"},
                                          {reference(50, 1), "<path corrupted>\\own parent\\"},
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
        EXPECT_EQ(made.path(directory), std::string("[root]\\") + path);
    }
    EXPECT_EQ(made.path(~std::uint64_t{0}), "none");
}

}  // namespace
