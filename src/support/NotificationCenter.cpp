#include "support/NotificationCenter.h"

#include "support/MainThread.h"

#include <algorithm>

namespace quillet {

NotificationCenter& NotificationCenter::standard() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::post(const QString& name, const QVariantMap& userInfo) {
    if (MainThread::isCurrent()) return tell(name, userInfo);
    MainThread::post([this, name, userInfo] { tell(name, userInfo); });
}

void NotificationCenter::observe(const QString& name, QObject* context,
                                 std::function<void(const QVariantMap&)> handler) {
    std::erase_if(m_observers, [](const Observer& observer) { return !observer.context; });
    m_observers.push_back({name, context, std::move(handler)});
}

void NotificationCenter::tell(const QString& name, const QVariantMap& userInfo) {
    const auto observers = m_observers; // a handler may add others
    for (const Observer& observer : observers) {
        if (observer.name == name && observer.context) observer.handler(userInfo);
    }
}

} // namespace quillet
