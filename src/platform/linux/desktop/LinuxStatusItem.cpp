#include "platform/linux/desktop/LinuxStatusItem.h"

#include "platform/linux/desktop/PointerHint.h"
#include "platform/linux/desktop/ToolkitMenu.h"
#include "platform/linux/desktop/TrayImage.h"
#include "platform/linux/desktop/XembedTray.h"

#include <QApplication>
#include <QPointer>

namespace quillet {
namespace {

constexpr const char* kItemPath = "/StatusNotifierItem";

constexpr std::size_t kImagesKept = 8;

/// Runs the callback only while the item lives: presses are delivered later.
template <typename... Arguments, typename Callback>
auto whileAlive(LinuxStatusItem* item, Callback callback) {
    return [alive = QPointer(item), callback](Arguments... arguments) {
        if (alive) callback(arguments...);
    };
}

} // namespace

LinuxStatusItem::LinuxStatusItem(Handlers handlers, const QDBusConnection& ownBus)
    : m_handlers(std::move(handlers)),
      m_bus(ownBus),
      m_item(whileAlive<QPoint, const QByteArray&>(this,
                                                   [this](QPoint reported, const QByteArray& token) {
                                                       m_handlers.activate({.point = believablePoint(reported),
                                                                            .activationToken = token});
                                                   }),
             whileAlive<QPoint>(this, [this](QPoint reported) { openMenuAt(reported); })),
      m_menu([this] { return entries(); }),
      m_host(ownBus, QLatin1String(kItemPath)) {
    connect(&m_host, &NotifierHost::changed, this, [this] { update(); });
}

LinuxStatusItem::~LinuxStatusItem() {
    QDBusConnection::disconnectFromBus(m_bus.name()); // what makes the panel drop the item
}

void LinuxStatusItem::setImage(const StatusImage& image) {
    m_image = image;
    const std::vector<QImage>& images = imagesFor(image);
    m_item.setDescription(image.description);
    m_item.setImages(images);
    if (m_olderTray) m_olderTray->setImages(images, image.description);
    if (!m_started) start();
}

void LinuxStatusItem::start() {
    m_started = true;
    m_bus.registerObject(QLatin1String(kItemPath), &m_item, QDBusConnection::ExportScriptableContents);
    m_bus.registerObject(QLatin1String(NotifierObject::kMenuPath), &m_menu, QDBusConnection::ExportScriptableContents);
    m_host.start();
}

void LinuxStatusItem::update() {
    switch (m_host.state()) {
    case NotifierHost::State::Asking:
        return;
    case NotifierHost::State::NoWatcher:
        if (!m_olderTrays && XembedTray::isPossible())
            m_olderTrays = std::make_unique<XembedWatch>([this] { lookForOlderTray(); });
        return lookForOlderTray();
    case NotifierHost::State::NoHost:
    case NotifierHost::State::Shown:
        m_olderTrays.reset();
        m_olderTray.reset();
        m_menu.refresh(); // this panel may need the last entry, the one before may not have
        m_presence.setIfChanged(m_host.state() == NotifierHost::State::Shown ? Presence::Shown : Presence::Absent);
    }
}

void LinuxStatusItem::lookForOlderTray() {
    if (!XembedTray::isAvailable()) {
        m_olderTray.reset();
        m_presence.setIfChanged(Presence::Absent);
        return;
    }
    if (!m_olderTray) {
        m_olderTray = std::make_unique<XembedTray>(m_handlers.activate, [this] { return entries(); });
        m_olderTray->setImages(imagesFor(m_image), m_image.description);
    }
    m_presence.setIfChanged(Presence::Shown);
}

void LinuxStatusItem::refreshMenu() { m_menu.refresh(); }

void LinuxStatusItem::openMenuAt(QPoint reported) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return;
    m_ownMenu = makeToolkitMenu([this] { return entries(); });
    m_ownMenu->popup(believablePoint(reported).value_or(reported));
}

std::vector<MenuEntry> LinuxStatusItem::entries() const {
    std::vector<MenuEntry> all = m_handlers.menu();
    const bool pressesArrive = m_olderTray || m_host.tellsOfPresses();
    if (!pressesArrive) {
        all.push_back({.title = tr("Show Quillet"), .action = [activate = m_handlers.activate] { activate({}); }});
    }
    return all;
}

const std::vector<QImage>& LinuxStatusItem::imagesFor(const StatusImage& image) {
    if (m_images.size() >= kImagesKept) m_images.clear();
    const auto key = std::make_tuple(image.symbol, image.icon.cacheKey(), image.tint);
    auto found = m_images.find(key);
    if (found == m_images.end()) found = m_images.emplace(key, trayImages(image)).first;
    return found->second;
}

} // namespace quillet
