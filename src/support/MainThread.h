#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <QPointer>
#include <QThread>

#include <functional>
#include <memory>
#include <utility>

namespace quillet {

/// The only ways onto the main thread. Closures run in the order of posting, when the event loop comes round; they are
/// dropped when there is no application object any more.
namespace MainThread {

[[nodiscard]] inline bool isCurrent() {
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

/// Always later, also when called on the main thread.
inline void post(std::function<void()> work) {
    if (auto* app = QCoreApplication::instance()) QMetaObject::invokeMethod(app, std::move(work), Qt::QueuedConnection);
}

/// Later, and only while the object lives; the closure does not keep it alive.
template <typename T>
void postWeakly(const std::weak_ptr<T>& object, std::function<void(T&)> work) {
    post([object, work = std::move(work)] {
        if (const std::shared_ptr<T> alive = object.lock()) work(*alive);
    });
}

/// Runs the work on the main thread and waits; in place when already there.
inline void runAndWait(const std::function<void()>& work) {
    if (isCurrent()) return work();
    if (auto* app = QCoreApplication::instance()) QMetaObject::invokeMethod(app, work, Qt::BlockingQueuedConnection);
}

} // namespace MainThread
} // namespace quillet
