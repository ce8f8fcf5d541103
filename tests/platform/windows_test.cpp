#include "platform/platform.h"
#include "platform/windows_text.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <windows.h>
// after windows.h
#include <fcntl.h>
#include <io.h>

#include <array>

namespace {

using platform::file;
using platform::path_kind;
using platform::wide;
using platform::write_result;

// Folders that only the long form of a path leads into, whatever the system's limit is: one name ends with a dot.
class deep_folder {
public:
    deep_folder() {
        for (const std::string& name : {std::string(120, 'd'), std::string(120, 'e') + '.', std::string(120, 'f')}) {
            path_ += (path_.empty() ? root_ / "" : "\\") + name;
            if (CreateDirectoryW(wide(R"(\\?\)" + path_).c_str(), nullptr)) made_.push_back(wide(R"(\\?\)" + path_));
        }
    }
    ~deep_folder() {
        if (made_.empty()) return;
        (void)DeleteFileW((made_.back() + L"\\results.txt").c_str());
        for (; !made_.empty(); made_.pop_back()) (void)RemoveDirectoryW(made_.back().c_str());
    }
    [[nodiscard]] std::string results() const { return path_ + "/results.txt"; }

private:
    temporary_folder root_;
    std::string path_;
    std::vector<std::wstring> made_;
};

TEST(WindowsFile, LongFormOfAPathIsTriedToo) {
    const deep_folder folder;
    const std::string path = folder.results();
    file out;
    ASSERT_TRUE(out.open_for_writing(path, false, true));
    EXPECT_EQ(out.append("line\n"), write_result::ok);
    EXPECT_TRUE(out.close());
    EXPECT_EQ(platform::kind_of(path), path_kind::regular_file);
    EXPECT_TRUE(platform::identity_of(path).has_value());
    ASSERT_TRUE(out.open_for_reading(path));
    EXPECT_EQ(out.size(), 6);
    EXPECT_TRUE(out.close());
    EXPECT_TRUE(platform::remove_file(path));
    EXPECT_EQ(platform::kind_of(path), path_kind::absent);
}

TEST(WindowsText, BothWays) {
    const std::pair<std::wstring_view, std::string_view> pairs[] = {{L"a\x7F", "a\x7F"},
                                                                    {L"\x80\x7FF", "\xC2\x80\xDF\xBF"},
                                                                    {L"\x800\xFFFF", "\xE0\xA0\x80\xEF\xBF\xBF"},
                                                                    {L"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
                                                                    {L"\xDE00\xD83D", "\xED\xB8\x80\xED\xA0\xBD"},
                                                                    {L"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"}};
    for (const auto& [wide, narrow] : pairs) {
        EXPECT_EQ(platform::narrow(wide), narrow);
        EXPECT_EQ(platform::wide(narrow), wide);
    }
    for (const std::string bad : {"\x80", "\xC3", "\xF0\x9F\x98", "\xC1\xBF", "\xF4\x90\x80\x80", "\xFF"}) {
        EXPECT_EQ(wide(bad), std::wstring(bad.size(), L'\xFFFD')) << testing::PrintToString(bad);
    }
}

TEST(WindowsFile, ReaderThatClosesItsPipeEndsTheWriting) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(_pipe(pipe.data(), 4096, _O_BINARY), 0);
    const int saved = _dup(1);
    _dup2(pipe[1], 1);
    _close(pipe[1]);
    file out;
    out.use_standard_output();
    const std::int64_t size = out.size();
    const write_result open = out.append("line\n");
    _close(pipe[0]);
    const write_result closed = out.append("line\n");
    EXPECT_TRUE(out.close());
    EXPECT_EQ(_dup2(saved, 1), 0);
    _close(saved);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(open, write_result::ok);
    EXPECT_EQ(closed, write_result::closed_pipe);
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
