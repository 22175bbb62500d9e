#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <chrono>
#include <functional>
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

/// Runs what is queued for the main thread now.
inline void processEvents() { QCoreApplication::processEvents(); }

} // namespace quillet::test
