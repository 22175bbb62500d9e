#pragma once

#include "platform/StatusItem.h"

#include <QAbstractNativeEventFilter>
#include <QImage>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace quillet {

/// Says when an older tray may have come or gone: after messages and the end of windows, because the toolkit keeps the
/// matter to itself. Costs a look at each X event's kind, and no timer.
class XembedWatch : public QObject, private QAbstractNativeEventFilter {
public:
    explicit XembedWatch(std::function<void()> look);
    ~XembedWatch() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    QTimer m_soon;
};

/// The item in one of the older trays, which embed a small window of ours. Made by the status item where no newer
/// panel is present; main thread, needs widgets. Such a tray may come later or not at all, and the toolkit moves into
/// it by itself.
class XembedTray : public QObject {
public:
    XembedTray(std::function<void(const ActivationHint&)> activate, std::function<std::vector<MenuEntry>()> entries);

    /// Whether this session could have such a tray at all.
    [[nodiscard]] static bool isPossible();
    [[nodiscard]] static bool isAvailable();

    void setImages(const std::vector<QImage>& images, const QString& description);

private:
    std::unique_ptr<QMenu> m_menu;
    QSystemTrayIcon m_icon; ///< goes first: it knows the menu
};

} // namespace quillet
