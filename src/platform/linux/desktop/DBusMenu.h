#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/desktop/NotifierTypes.h"

#include <QDBusVariant>
#include <QObject>

#include <functional>
#include <vector>

namespace quillet {

/// A flat menu as com.canonical.dbusmenu serves it to the panel. Owned by the status item, exported on the bus; main
/// thread. The panel says when it is about to show the menu; then the entries are asked for anew, and when they differ
/// they get new numbers, so that a press on a line that was shown a moment ago still means that line.
class DBusMenu : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version SCRIPTABLE true)
    Q_PROPERTY(QString TextDirection READ textDirection SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath SCRIPTABLE true)

public:
    explicit DBusMenu(std::function<std::vector<MenuEntry>()> entries, QObject* parent = nullptr);

    /// Asks for the entries; tells the panel when they are others.
    void refresh();

    [[nodiscard]] uint version() const { return 3; }
    [[nodiscard]] QString textDirection() const;
    [[nodiscard]] QString status() const { return QStringLiteral("normal"); }
    [[nodiscard]] QStringList iconThemePath() const { return {}; }

public Q_SLOTS:
    Q_SCRIPTABLE uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                quillet::MenuLayout& layout);
    Q_SCRIPTABLE QList<quillet::MenuItemProperties> GetGroupProperties(const QList<int>& ids,
                                                                       const QStringList& propertyNames);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    Q_SCRIPTABLE void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    Q_SCRIPTABLE QList<int> EventGroup(const QList<quillet::MenuEvent>& events);
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

Q_SIGNALS:
    Q_SCRIPTABLE void ItemsPropertiesUpdated(const QList<quillet::MenuItemProperties>& updated,
                                             const QList<quillet::MenuRemovedProperties>& removed);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parentId);
    Q_SCRIPTABLE void ItemActivationRequested(int id, uint timestamp);

private:
    struct Line {
        int id = 0;
        MenuEntry entry{};
    };
    [[nodiscard]] bool rebuild();
    void buildOnce();
    [[nodiscard]] const Line* find(int id) const;
    [[nodiscard]] bool knows(int id) const { return id == 0 || find(id); }
    [[nodiscard]] QVariantMap propertiesOf(int id, const QStringList& names) const;

    std::function<std::vector<MenuEntry>()> m_entries;
    std::vector<Line> m_lines;
    std::vector<Line> m_replaced; ///< the lines before, which a panel may still be showing
    int m_lastId = 0;
    uint m_revision = 0;
};

} // namespace quillet
