#include "platform/linux/desktop/LinuxAppearance.h"

#include "platform/linux/desktop/Bus.h"

#include <QDBusVariant>
#include <QMetaType>

#include <cmath>

namespace quillet {
namespace {

constexpr bus::Address kPortal{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.Settings"};

struct Setting {
    const char* group;
    const char* key;
};
constexpr Setting kScheme{"org.freedesktop.appearance", "color-scheme"};
constexpr Setting kTextScale{"org.gnome.desktop.interface", "text-scaling-factor"};
constexpr Setting kAnimations{"org.gnome.desktop.interface", "enable-animations"};

constexpr double kSmallestScale = 0.5;
constexpr double kLargestScale = 4;

std::optional<Appearance::Scheme> schemeOf(const QVariant& value) {
    switch (value.toUInt()) {
    case 1:
        return Appearance::Scheme::Dark;
    case 2:
        return Appearance::Scheme::Light;
    default:
        return std::nullopt; // no preference
    }
}

std::optional<double> scaleOf(const QVariant& value) {
    bool isNumber = false;
    const double scale = value.toDouble(&isNumber);
    if (!isNumber || !(scale >= kSmallestScale && scale <= kLargestScale)) return std::nullopt;
    return scale;
}

std::optional<bool> animationsOf(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<bool>() ? std::optional(value.toBool()) : std::nullopt;
}

} // namespace

LinuxAppearance::LinuxAppearance(const QDBusConnection& bus) : m_bus(bus) {
    if (!m_bus.isConnected()) return;
    qRegisterMetaType<QDBusVariant>(); // a slot with a type that Qt has not met yet would not be connected
    // Without a service name: with one, the bus would be asked for its owner, and waited for.
    m_bus.connect(QString(), QLatin1String(kPortal.path), QLatin1String(kPortal.interface),
                  QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    for (const Setting& setting : {kScheme, kTextScale, kAnimations}) {
        const QString group = QLatin1String(setting.group);
        const QString key = QLatin1String(setting.key);
        const auto then = [this, group, key](const QDBusMessage& reply) {
            if (!bus::failed(reply)) take(group, key, bus::firstValue(reply));
        };
        bus::ask(m_bus, bus::startingCall(kPortal, "Read", {group, key}), this, then, bus::kStartingPatienceMs);
    }
}

void LinuxAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, bus::unwrapped(value.variant()));
}

void LinuxAppearance::take(const QString& group, const QString& key, const QVariant& value) {
    const auto is = [&](const Setting& setting) {
        return group == QLatin1String(setting.group) && key == QLatin1String(setting.key);
    };
    if (is(kScheme)) m_scheme.setIfChanged(schemeOf(value));
    if (is(kTextScale)) m_textScale.setIfChanged(scaleOf(value));
    if (is(kAnimations)) m_animations.setIfChanged(animationsOf(value));
}

} // namespace quillet
