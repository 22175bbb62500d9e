#include "support/SerialQueue.h"

#include "support/MainThread.h"
#include "support/NotificationCenter.h"
#include "support/Published.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

namespace quillet::test {
namespace {

struct CountingItem final : SerialQueue::Item {
    void run() override { ++runs; }
    std::atomic<int> runs = 0;
};

TEST(SerialQueueTest, WorkOfManyThreadsRunsOneByOneInTheOrderOfEachThread) {
    SerialQueue queue("test");
    std::vector<std::pair<int, int>> ran; // unguarded: the queue is the guard
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 1000; ++i) queue.async([&ran, thread, i] { ran.emplace_back(thread, i); });
        });
    }
    for (auto& thread : threads) thread.join();
    queue.sync([] {});

    ASSERT_EQ(ran.size(), 4000U);
    int next[4] = {};
    for (const auto& [thread, i] : ran) ASSERT_EQ(i, next[thread]++);
}

TEST(SerialQueueTest, DestructionRunsWhatIsQueuedAlsoFromItsOwnThread) {
    CountingItem item;
    CountingItem unhurried;
    {
        SerialQueue queue("test");
        queue.post(item);
        queue.postUnhurried(unhurried);
    }
    EXPECT_EQ(item.runs, 1);
    EXPECT_EQ(unhurried.runs, 1);

    std::atomic<bool> ranAfterwards = false;
    auto queue = std::make_shared<SerialQueue>("test");
    SerialQueue* const raw = queue.get();
    raw->async([last = std::move(queue), &ranAfterwards]() mutable {
        last->async([&ranAfterwards] { ranAfterwards = true; });
        last.reset();
    });
    EXPECT_TRUE(waitFor([&] { return ranAfterwards.load(); }));
}

TEST(PublishedTest, SubscribersHearThePresentValueAndEverySetUntilTheirContextEnds) {
    Published<int> number{3};
    std::vector<int> heard;
    auto context = std::make_unique<QObject>();
    number.subscribe(context.get(), [&](int value) { heard.push_back(value); });
    number.set(3);
    number.set(4);
    context.reset();
    number.set(5);
    EXPECT_EQ(heard, (std::vector<int>{3, 3, 4}));
}

TEST(NotificationCenterTest, NoticesOfOtherThreadsArriveOnTheObserversThreadByName) {
    NotificationCenter center;
    QObject context;
    std::vector<int> heard;
    center.observe(QStringLiteral("wanted"), &context, [&](const QVariantMap& info) {
        EXPECT_TRUE(MainThread::isCurrent());
        heard.push_back(info.value(QStringLiteral("n")).toInt());
    });
    std::thread([&] {
        center.post(QStringLiteral("other"), {{QStringLiteral("n"), 1}});
        center.post(QStringLiteral("wanted"), {{QStringLiteral("n"), 2}});
    }).join();
    ASSERT_TRUE(waitFor([&] { return !heard.empty(); }));
    EXPECT_EQ(heard, std::vector<int>{2});
}

TEST(MainThreadTest, WeakClosuresAreDroppedAndWaitingOnesRunOnTheMainThread) {
    auto object = std::make_shared<int>(1);
    int ran = 0;
    MainThread::postWeakly<int>(object, [&](int&) { ++ran; });
    processEvents();
    EXPECT_EQ(ran, 1);
    MainThread::postWeakly<int>(object, [&](int&) { ++ran; });
    object.reset();
    processEvents();
    EXPECT_EQ(ran, 1);

    EXPECT_TRUE(onWorker([] {
        bool ranThere = false;
        MainThread::runAndWait([&] { ranThere = MainThread::isCurrent(); });
        return ranThere;
    }));
}

TEST(MainThreadTest, ClosuresOfManyThreadsRunInOrderAlsoInNestedLoops) {
    constexpr int kEach = 500;
    std::vector<std::pair<int, int>> ran;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kEach; ++i) MainThread::post([&ran, thread, i] { ran.emplace_back(thread, i); });
        });
    }
    // A closure that waits for others, as a modal window does, must not keep them from running.
    bool nestedSawAll = false;
    MainThread::post([&] { nestedSawAll = waitFor([&] { return ran.size() == 4U * kEach; }); });
    ASSERT_TRUE(waitFor([&] { return nestedSawAll; }));
    for (auto& thread : threads) thread.join();
    int next[4] = {};
    for (const auto& [thread, i] : ran) ASSERT_EQ(i, next[thread]++);
}

} // namespace
} // namespace quillet::test
