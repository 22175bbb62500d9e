#pragma once

#include "support/MainThread.h"
#include "support/Require.h"

#include <QObject>
#include <QPointer>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace quillet {

/// A value of an observable model. Main thread only.
///
/// Every set() tells the subscribers, also when the value is the same: an alert raised twice is presented twice, and
/// a timer that is restarted by each announcement is restarted. A new subscriber is told the present value at once.
template <typename T>
class Published {
public:
    explicit Published(T initial = {}) : m_value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    [[nodiscard]] const T& value() const { return m_value; }

    void set(T value) {
        require(MainThread::isCurrent(), "published values belong to the main thread");
        m_value = std::move(value);
        const auto subscribers = m_subscribers; // a subscriber may add or remove others
        for (const Subscriber& subscriber : subscribers) {
            if (subscriber.context) subscriber.tell(m_value);
        }
        std::erase_if(m_subscribers, [](const Subscriber& subscriber) { return !subscriber.context; });
    }

    /// Tells nobody what they know.
    void setIfChanged(T value) {
        if (value != m_value) set(std::move(value));
    }

    /// Calls tell with the present value now and at each set(), for as long as the context object lives.
    void subscribe(QObject* context, std::function<void(const T&)> tell) {
        tell(m_value);
        m_subscribers.push_back({context, std::move(tell)});
    }

private:
    struct Subscriber {
        QPointer<QObject> context;
        std::function<void(const T&)> tell;
    };
    T m_value;
    std::vector<Subscriber> m_subscribers;
};

} // namespace quillet
