#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/desktop/DBusMenu.h"
#include "platform/linux/desktop/NotifierHost.h"
#include "platform/linux/desktop/NotifierObject.h"

#include <QDBusConnection>
#include <QMenu>
#include <QObject>

#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace quillet {

class XembedTray;
class XembedWatch;

/// The status item on Linux: org.kde.StatusNotifierItem where a panel shows such items, one of the older trays where
/// none does and there is one. Changes between the two when panels come and go. Panels that keep the primary button to
/// themselves get a last menu entry "Show Quillet"; so do those we know nothing of. The item itself needs no widgets
/// and works on every Qt platform; the older trays and a menu of our own need them.
class LinuxStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    /// The connection is the item's own: panels take an item away when its connection ends.
    LinuxStatusItem(Handlers handlers, const QDBusConnection& ownBus);
    ~LinuxStatusItem() override;

    void setImage(const StatusImage& image) override;
    void refreshMenu() override;
    [[nodiscard]] Published<Presence>& presence() override { return m_presence; }

private:
    void start();
    void update();
    void lookForOlderTray();
    void openMenuAt(QPoint reported);
    [[nodiscard]] std::vector<MenuEntry> entries() const;
    [[nodiscard]] const std::vector<QImage>& imagesFor(const StatusImage& image);

    Handlers m_handlers;
    QDBusConnection m_bus;
    NotifierObject m_item;
    DBusMenu m_menu;
    NotifierHost m_host;
    std::unique_ptr<XembedTray> m_olderTray;
    std::unique_ptr<QMenu> m_ownMenu;
    std::unique_ptr<XembedWatch> m_olderTrays; ///< while no panel shows items
    bool m_started = false;
    Published<Presence> m_presence{Presence::Unknown};
    StatusImage m_image;
    std::map<std::tuple<QString, qint64, StatusImage::Tint>, std::vector<QImage>> m_images; ///< a blink repeats them
};

} // namespace quillet
