#include "platform/linux/desktop/NotifierTypes.h"

#include <QDBusMetaType>
#include <QDBusVariant>
#include <QtEndian>

namespace quillet {

NotifierPixmap NotifierPixmap::of(const QImage& image) {
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    NotifierPixmap pixmap{argb.width(), argb.height()};
    pixmap.data.resize(argb.sizeInBytes());
    qToBigEndian<quint32>(argb.constBits(), argb.sizeInBytes() / 4, pixmap.data.data());
    return pixmap;
}

QDBusArgument& operator<<(QDBusArgument& to, const NotifierPixmap& value) {
    to.beginStructure();
    to << value.width << value.height << value.data;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, NotifierPixmap& value) {
    from.beginStructure();
    from >> value.width >> value.height >> value.data;
    from.endStructure();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const NotifierToolTip& value) {
    to.beginStructure();
    to << value.iconName << value.icon << value.title << value.text;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, NotifierToolTip& value) {
    from.beginStructure();
    from >> value.iconName >> value.icon >> value.title >> value.text;
    from.endStructure();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const MenuItemProperties& value) {
    to.beginStructure();
    to << value.id << value.properties;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, MenuItemProperties& value) {
    from.beginStructure();
    from >> value.id >> value.properties;
    from.endStructure();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const MenuLayout& value) {
    to.beginStructure();
    to << value.id << value.properties;
    to.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const MenuLayout& child : value.children) to << QDBusVariant(QVariant::fromValue(child));
    to.endArray();
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, MenuLayout& value) {
    from.beginStructure();
    from >> value.id >> value.properties;
    value.children.clear();
    from.beginArray();
    while (!from.atEnd()) {
        QDBusVariant child;
        from >> child;
        value.children.append(qdbus_cast<MenuLayout>(child.variant()));
    }
    from.endArray();
    from.endStructure();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const MenuEvent& value) {
    to.beginStructure();
    to << value.id << value.kind << QDBusVariant(value.data) << value.timestamp;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, MenuEvent& value) {
    QDBusVariant data;
    from.beginStructure();
    from >> value.id >> value.kind >> data >> value.timestamp;
    from.endStructure();
    value.data = data.variant();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const MenuRemovedProperties& value) {
    to.beginStructure();
    to << value.id << value.names;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, MenuRemovedProperties& value) {
    from.beginStructure();
    from >> value.id >> value.names;
    from.endStructure();
    return from;
}

void registerNotifierTypes() {
    qDBusRegisterMetaType<NotifierPixmap>();
    qDBusRegisterMetaType<NotifierPixmaps>();
    qDBusRegisterMetaType<NotifierToolTip>();
    qDBusRegisterMetaType<MenuItemProperties>();
    qDBusRegisterMetaType<QList<MenuItemProperties>>();
    qDBusRegisterMetaType<MenuLayout>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<MenuRemovedProperties>();
    qDBusRegisterMetaType<QList<MenuRemovedProperties>>();
    qDBusRegisterMetaType<QList<int>>();
    qDBusRegisterMetaType<QList<QStringList>>();
}

} // namespace quillet
