#include "platform/platform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

TEST(PosixPath, NodesOfOneDeviceAreOneDevice) {
    EXPECT_EQ(platform::kind_of("/dev/null"), platform::path_kind::other);
    EXPECT_NE(platform::identity_of("/dev/null"), platform::identity_of("/dev/zero"));
    const std::string node = testing::TempDir() + "lorq-null";
    (void)platform::remove_file(node);
    if (::mknod(node.c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0) GTEST_SKIP() << "may not make device nodes";
    EXPECT_EQ(platform::identity_of(node), platform::identity_of("/dev/null"));
}

}  // namespace
