#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace quillet {

// What travels over the bus between a status item, its menu and the panel.

/// "(iiay)": an icon in one size, ARGB, highest byte first.
struct NotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray data{};

    static NotifierPixmap of(const QImage& image);
};
using NotifierPixmaps = QList<NotifierPixmap>;

/// "(sa(iiay)ss)"
struct NotifierToolTip {
    QString iconName{};
    NotifierPixmaps icon{};
    QString title{};
    QString text{};
};

/// "(ia{sv})"
struct MenuItemProperties {
    int id = 0;
    QVariantMap properties{};
};

/// "(ia{sv}av)": an item with those below it.
struct MenuLayout {
    int id = 0;
    QVariantMap properties{};
    QList<MenuLayout> children{};
};

/// "(isvu)"
struct MenuEvent {
    int id = 0;
    QString kind{};
    QVariant data{};
    uint timestamp = 0;
};

/// "(ias)"
struct MenuRemovedProperties {
    int id = 0;
    QStringList names{};
};

QDBusArgument& operator<<(QDBusArgument& to, const NotifierPixmap& value);
const QDBusArgument& operator>>(const QDBusArgument& from, NotifierPixmap& value);
QDBusArgument& operator<<(QDBusArgument& to, const NotifierToolTip& value);
const QDBusArgument& operator>>(const QDBusArgument& from, NotifierToolTip& value);
QDBusArgument& operator<<(QDBusArgument& to, const MenuItemProperties& value);
const QDBusArgument& operator>>(const QDBusArgument& from, MenuItemProperties& value);
QDBusArgument& operator<<(QDBusArgument& to, const MenuLayout& value);
const QDBusArgument& operator>>(const QDBusArgument& from, MenuLayout& value);
QDBusArgument& operator<<(QDBusArgument& to, const MenuEvent& value);
const QDBusArgument& operator>>(const QDBusArgument& from, MenuEvent& value);
QDBusArgument& operator<<(QDBusArgument& to, const MenuRemovedProperties& value);
const QDBusArgument& operator>>(const QDBusArgument& from, MenuRemovedProperties& value);

/// Once before any of them travels; more often does no harm.
void registerNotifierTypes();

} // namespace quillet

Q_DECLARE_METATYPE(quillet::NotifierPixmap)
Q_DECLARE_METATYPE(quillet::NotifierToolTip)
Q_DECLARE_METATYPE(quillet::MenuItemProperties)
Q_DECLARE_METATYPE(quillet::MenuLayout)
Q_DECLARE_METATYPE(quillet::MenuEvent)
Q_DECLARE_METATYPE(quillet::MenuRemovedProperties)
