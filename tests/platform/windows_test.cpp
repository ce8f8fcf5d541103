#include "platform/platform.h"
#include "platform/windows_text.h"

#include <gtest/gtest.h>
#include <windows.h>

using platform::path_kind;
using platform::wide;
using platform::write_result;

// Only the long form of a path leads into it, whatever the system's limit is: one folder's name ends with a dot.
TEST(WindowsFile, LongFormOfAPathIsTriedToo) {
    std::vector<std::wstring> made;
    std::string path = testing::TempDir();
    for (const std::string& name : {std::string(120, 'd'), std::string(120, 'e') + '.', std::string(120, 'f')}) {
        path += (made.empty() ? "" : "\\") + name;
        made.push_back(wide(R"(\\?\)" + path));
        ASSERT_TRUE(CreateDirectoryW(made.back().c_str(), nullptr));
    }
    path += "/results.txt";
    platform::file out;
    EXPECT_TRUE(out.open_for_writing(path, false, true));
    EXPECT_EQ(out.append("line\n"), write_result::ok);
    EXPECT_TRUE(out.close());
    EXPECT_EQ(platform::kind_of(path), path_kind::regular_file);
    EXPECT_TRUE(platform::identity_of(path).has_value());
    EXPECT_TRUE(out.open_for_reading(path) && out.size() == 6 && out.close());
    EXPECT_TRUE(platform::remove_file(path));
    EXPECT_EQ(platform::kind_of(path), path_kind::absent);
    for (; !made.empty(); made.pop_back()) (void)RemoveDirectoryW(made.back().c_str());
}

TEST(WindowsPath, DeviceNamesAreNoFiles) {
    for (const char* name : {"NUL", "nul", "CON", R"(\\.\C:)"}) {
        EXPECT_EQ(platform::kind_of(name), path_kind::other) << name;
        EXPECT_EQ(platform::kind_of_target(name), path_kind::other) << name;
    }
    EXPECT_EQ(platform::device_node(R"(\\.\C:)"), R"(\\.\C:)");
    EXPECT_EQ(platform::identity_of(R"(\\.\C:)"), platform::identity_of(R"(\\?\c:)"));
    EXPECT_EQ(platform::identity_of("NUL"), platform::identity_of(R"(\\.\nul)"));
}
