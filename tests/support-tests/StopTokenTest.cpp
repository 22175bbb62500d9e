#include "support/StopToken.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

namespace quillet::test {
namespace {

TEST(StopTokenTest, aRequestReachesEveryTokenAndCallsEachCallbackOnce) {
    StopSource source;
    const StopToken token = source.token();
    int before = 0;
    int gone = 0;
    int after = 0;
    const StopCallback onStop(token, [&] { ++before; });
    {
        const StopCallback temporary(token, [&] { ++gone; });
    }
    EXPECT_FALSE(token.stopRequested());
    EXPECT_FALSE(StopToken().stopRequested());

    source.requestStop();
    source.requestStop();
    const StopCallback late(token, [&] { ++after; });
    EXPECT_TRUE(token.stopRequested());
    EXPECT_EQ(before, 1);
    EXPECT_EQ(gone, 0);
    EXPECT_EQ(after, 1);
}

TEST(StopTokenTest, aCallbackMayDestroyItself) {
    StopSource source;
    std::optional<StopCallback> callback;
    bool called = false;
    callback.emplace(source.token(), [&] {
        callback.reset();
        called = true;
    });
    source.requestStop();
    EXPECT_TRUE(called);
}

/// What the callback uses may go right after it: its end waits for a call under way.
TEST(StopTokenTest, theEndOfACallbackWaitsForItsCall) {
    StopSource source;
    std::atomic<bool> entered = false;
    std::atomic<bool> left = false;
    std::optional<StopCallback> callback;
    callback.emplace(source.token(), [&] {
        entered = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        left = true;
    });
    std::thread requester([&] { source.requestStop(); });
    while (!entered) std::this_thread::yield();
    callback.reset();
    EXPECT_TRUE(left);
    requester.join();
}

} // namespace
} // namespace quillet::test
