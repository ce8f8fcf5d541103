#include "platform/platform.h"
#include "platform/windows_text.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

using platform::path_kind;
using platform::wide;
using platform::write_result;

// Only the long form of a path leads into it, whatever the system's limit is: one folder's name ends with a dot.
TEST(WindowsFile, LongFormOfAPathIsTriedToo) {
    const temporary_folder root;
    std::vector<std::wstring> made;
    std::string path = root / "";
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

TEST(WindowsText, BothWays) {
    const std::wstring_view all = L"a\x7F\x80\x7FF\x800\xFFFF\xD83D\xDE00\xDE00\xD83D\xDBFF\xDFFF";
    const std::string utf8 =
        "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x9F\x98\x80\xED\xB8\x80\xED\xA0\xBD\xF4\x8F\xBF\xBF";
    EXPECT_EQ(platform::narrow(all), utf8);
    EXPECT_EQ(wide(utf8), all);
    for (const std::string bad : {"\x80", "\xC3", "\xF0\x9F\x98", "\xC1\xBF", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_EQ(wide(bad), std::wstring(bad.size(), L'\xFFFD')) << testing::PrintToString(bad);
    }
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

TEST(WindowsProcess, EndEventIsSetUnderTheTypedName) {
    for (const char* name : {"lorq-test-end", "lorq-test-\xC3\xA9nd"}) {
        const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, wide(name).c_str());
        EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        platform::set_end_event(name);
        EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0) << name;
        CloseHandle(event);
    }
}

TEST(WindowsProcess, VariablesOfAnyLength) {
    for (const std::size_t length : {0U, 259U, 260U, 261U, 5000U}) {
        ASSERT_TRUE(SetEnvironmentVariableW(L"LORQ_TEST", std::wstring(length, L'x').c_str()));
        EXPECT_EQ(platform::environment("LORQ_TEST"), std::string(length, 'x'));
    }
    ASSERT_TRUE(SetEnvironmentVariableW(L"LORQ_TEST", nullptr));
    EXPECT_FALSE(platform::environment("LORQ_TEST").has_value());
}

}  // namespace
