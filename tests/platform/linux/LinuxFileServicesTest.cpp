#include "platform/linux/LinuxFileServices.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

TEST(LinuxFileServicesTest, FreeSpaceAndBookmarksAreReal) {
    LinuxFileServices services;
    EXPECT_GT(services.freeBytes("/").value().value(), 0);
    EXPECT_FALSE(services.freeBytes("/no/such/folder"));
    const auto made = services.createDirectories("/proc/self/status/below");
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().description, QStringLiteral("/proc/self/status/below: Not a directory"));
    EXPECT_EQ(services.resolveBookmark(services.makeBookmark("/a b/ü").value())->url, "/a b/ü");
    EXPECT_FALSE(services.resolveBookmark("relative/path"));
}

} // namespace
} // namespace quillet::test
