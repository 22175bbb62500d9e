#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace quillet {

/// The only ways onto the main thread. Closures run in the order of posting, when the event loop comes round, also in a
/// nested one; they are dropped when there is no application object (any more).
///
/// The queue is our own and not the toolkit's, so that what one thread hands to another passes through a lock that the
/// thread sanitizer sees.
namespace MainThread {

[[nodiscard]] bool isCurrent();

/// Always later, also when called on the main thread. Any thread.
void post(std::function<void()> work);

/// Later, and only while the object lives; the closure does not keep it alive.
template <typename T>
void postWeakly(const std::weak_ptr<T>& object, std::function<void(T&)> work) {
    post([object, work = std::move(work)] {
        if (const std::shared_ptr<T> alive = object.lock()) work(*alive);
    });
}

/// Runs the work on the main thread and waits; in place when already there. Returns without having run it when the
/// application ends meanwhile.
void runAndWait(const std::function<void()>& work);

} // namespace MainThread
} // namespace quillet
