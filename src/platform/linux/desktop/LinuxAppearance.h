#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

namespace quillet {

/// What the desktop's settings portal tells, at the start and at each change.
class LinuxAppearance final : public QObject, public Appearance {
    Q_OBJECT

public:
    explicit LinuxAppearance(const QDBusConnection& bus);

    [[nodiscard]] Published<std::optional<Scheme>>& scheme() override { return m_scheme; }
    [[nodiscard]] Published<std::optional<double>>& textScale() override { return m_textScale; }
    [[nodiscard]] Published<std::optional<bool>>& animations() override { return m_animations; }

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection m_bus;
    Published<std::optional<Scheme>> m_scheme;
    Published<std::optional<double>> m_textScale;
    Published<std::optional<bool>> m_animations;
};

} // namespace quillet
