#include "platform/linux/desktop/XembedTray.h"

#include "platform/linux/desktop/PointerHint.h"
#include "platform/linux/desktop/ToolkitMenu.h"

#include <QApplication>
#include <QPixmap>

namespace quillet {
namespace {

constexpr int kSettleMs = 100; // a new tray's messages come in a burst, and the toolkit reads them after us

constexpr quint8 kDestroyNotify = 17; // the first byte of an X event
constexpr quint8 kClientMessage = 33; // a tray announces itself by one
constexpr quint8 kKind = 0x7f;

} // namespace

XembedWatch::XembedWatch(std::function<void()> look) {
    m_soon.setSingleShot(true);
    m_soon.setInterval(kSettleMs);
    connect(&m_soon, &QTimer::timeout, this, std::move(look));
    QCoreApplication::instance()->installNativeEventFilter(this);
}

XembedWatch::~XembedWatch() {
    if (auto* application = QCoreApplication::instance()) application->removeNativeEventFilter(this);
}

bool XembedWatch::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType == "xcb_generic_event_t") {
        const quint8 kind = *static_cast<const quint8*>(message) & kKind;
        if (kind == kDestroyNotify || kind == kClientMessage) m_soon.start();
    }
    return false;
}

XembedTray::XembedTray(std::function<void(const ActivationHint&)> activate,
                       std::function<std::vector<MenuEntry>()> entries)
    : m_menu(makeToolkitMenu(std::move(entries))) {
    m_icon.setContextMenu(m_menu.get());
    connect(&m_icon, &QSystemTrayIcon::activated, this,
            [this, activate = std::move(activate)](QSystemTrayIcon::ActivationReason reason) {
                if (reason != QSystemTrayIcon::Trigger) return;
                ActivationHint hint{.point = visiblePointer()};
                const QRect geometry = m_icon.geometry();
                if (geometry.isValid()) hint.itemGeometry = geometry;
                activate(hint);
            });
}

bool XembedTray::isPossible() {
    return qobject_cast<QApplication*>(QCoreApplication::instance()) &&
           QGuiApplication::platformName() == QLatin1String("xcb");
}

bool XembedTray::isAvailable() { return isPossible() && QSystemTrayIcon::isSystemTrayAvailable(); }

void XembedTray::setImages(const std::vector<QImage>& images, const QString& description) {
    QIcon icon;
    for (const QImage& image : images) icon.addPixmap(QPixmap::fromImage(image));
    m_icon.setIcon(icon);
    m_icon.setToolTip(description);
    m_icon.show();
}

} // namespace quillet
