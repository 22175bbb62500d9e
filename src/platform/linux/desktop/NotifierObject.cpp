#include "platform/linux/desktop/NotifierObject.h"

#include "support/MainThread.h"

#include <utility>

namespace quillet {

NotifierObject::NotifierObject(Press activate, OpenMenu openMenu, QObject* parent)
    : QObject(parent), m_activate(std::move(activate)), m_openMenu(std::move(openMenu)) {
    registerNotifierTypes();
}

void NotifierObject::setDescription(const QString& description) {
    if (description == m_description) return;
    m_description = description;
    Q_EMIT NewTitle();
    Q_EMIT NewToolTip();
}

void NotifierObject::setImages(const std::vector<QImage>& images) {
    m_icon.clear();
    for (const QImage& image : images) m_icon.append(NotifierPixmap::of(image));
    Q_EMIT NewIcon();
}

void NotifierObject::Activate(int x, int y) {
    // Later, because the panel waits for the answer and a window that opens takes its time.
    MainThread::post(
        [activate = m_activate, point = QPoint(x, y), token = std::exchange(m_token, {})] { activate(point, token); });
}

void NotifierObject::ContextMenu(int x, int y) {
    MainThread::post([open = m_openMenu, point = QPoint(x, y)] { open(point); });
}

void NotifierObject::ProvideXdgActivationToken(const QString& token) { m_token = token.toUtf8(); }

// Only the primary button and the menu mean something.
void NotifierObject::SecondaryActivate(int, int) {}
void NotifierObject::Scroll(int, const QString&) {}

} // namespace quillet
