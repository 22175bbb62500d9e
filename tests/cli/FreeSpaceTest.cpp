#include "cli/FreeSpace.h"

#include "support/FakeFileServices.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>

namespace quillet::cli {
namespace {

TEST(FreeSpaceTest, ADiskThatHangsIsAskedOnceAndNeverWaitedFor) {
    static auto& services = *new test::FakeFileServices; // the last question may outlast the test
    static std::atomic<int> asked = 0;
    static std::promise<void> answer;
    services.whileAskedForSpace = [answered = answer.get_future().share()](const std::filesystem::path& folder) {
        if (folder != "/hanging") return;
        ++asked;
        answered.wait_for(std::chrono::seconds(10));
    };
    FreeSpace space(services);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(space.ask("/hanging"), std::nullopt);
    EXPECT_TRUE(test::waitFor([] { return asked > 0; }));
    EXPECT_TRUE(test::waitFor([&] { return space.ask("/other") == 1'000'000'000; })) << "its own question";
    EXPECT_EQ(asked, 1);

    EXPECT_EQ(space.ask("/hanging"), std::nullopt) << "not what was heard of the other one";
    answer.set_value();
    EXPECT_TRUE(test::waitFor([&] { return space.ask("/hanging") == 1'000'000'000; }));
}

} // namespace
} // namespace quillet::cli
