#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

#include <functional>

namespace quillet {

/// Announcements from one part of the program to whoever cares, by name. Any thread may post.
class NotificationCenter : public QObject {
    Q_OBJECT
public:
    static NotificationCenter& standard();

    void post(const QString& name, const QVariantMap& userInfo = {});
    /// Runs the handler on the context object's thread, for as long as the context lives.
    void observe(const QString& name, QObject* context, std::function<void(const QVariantMap&)> handler);

Q_SIGNALS:
    void posted(const QString& name, const QVariantMap& userInfo);
};

namespace Notifications {
/// A recording's file is complete. User info: "url", the file's QUrl.
inline const QString recordingDidComplete = QStringLiteral("recordingDidComplete");
} // namespace Notifications

} // namespace quillet
