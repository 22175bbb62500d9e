#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace quillet::test {

/// Runs the main thread's events until the condition holds; false when it does not within the deadline.
inline bool waitFor(const std::function<bool()>& condition, int deadlineMs = 5000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > deadlineMs) return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1)); // what is waited for needs the processor, too
    }
    return true;
}

template <typename Result>
bool isReady(const std::future<Result>& result) {
    return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

/// Makes the call on a worker thread, as the product does, while the main thread's events run.
template <typename Call>
auto onWorker(Call call) {
    auto result = std::async(std::launch::async, std::move(call));
    waitFor([&] { return isReady(result); }, 100'000);
    return result.get();
}

/// Runs what is queued for the main thread now.
inline void processEvents() { QCoreApplication::processEvents(); }

} // namespace quillet::test
