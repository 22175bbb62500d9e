#include "support/NotificationCenter.h"

namespace quillet {

NotificationCenter& NotificationCenter::standard() {
    static NotificationCenter center;
    return center;
}

void NotificationCenter::post(const QString& name, const QVariantMap& userInfo) { Q_EMIT posted(name, userInfo); }

void NotificationCenter::observe(const QString& name, QObject* context,
                                 std::function<void(const QVariantMap&)> handler) {
    connect(this, &NotificationCenter::posted, context,
            [name, handler = std::move(handler)](const QString& postedName, const QVariantMap& userInfo) {
                if (postedName == name) handler(userInfo);
            });
}

} // namespace quillet
