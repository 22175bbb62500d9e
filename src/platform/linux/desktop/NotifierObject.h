#pragma once

#include "platform/StatusItem.h"
#include "platform/linux/desktop/NotifierTypes.h"

#include <QDBusObjectPath>
#include <QObject>

#include <functional>
#include <vector>

namespace quillet {

/// What a panel reads of our item, and where it tells of presses: org.kde.StatusNotifierItem. Owned by the status item,
/// exported on the bus; main thread. The icon travels as pixels only: a name would be looked up in a theme that is not
/// ours, and drawn in whatever colour the file happens to have.
class NotifierObject : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category SCRIPTABLE true)
    Q_PROPERTY(QString Id READ id SCRIPTABLE true)
    Q_PROPERTY(QString Title READ title SCRIPTABLE true)
    Q_PROPERTY(QString Status READ status SCRIPTABLE true)
    Q_PROPERTY(int WindowId READ windowId SCRIPTABLE true)
    Q_PROPERTY(QString IconThemePath READ none SCRIPTABLE true)
    Q_PROPERTY(QString IconName READ none SCRIPTABLE true)
    Q_PROPERTY(quillet::NotifierPixmaps IconPixmap READ iconPixmap SCRIPTABLE true)
    Q_PROPERTY(QString OverlayIconName READ none SCRIPTABLE true)
    Q_PROPERTY(quillet::NotifierPixmaps OverlayIconPixmap READ noPixmap SCRIPTABLE true)
    Q_PROPERTY(QString AttentionIconName READ none SCRIPTABLE true)
    Q_PROPERTY(quillet::NotifierPixmaps AttentionIconPixmap READ noPixmap SCRIPTABLE true)
    Q_PROPERTY(QString AttentionMovieName READ none SCRIPTABLE true)
    Q_PROPERTY(quillet::NotifierToolTip ToolTip READ toolTip SCRIPTABLE true)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu SCRIPTABLE true)
    Q_PROPERTY(QDBusObjectPath Menu READ menu SCRIPTABLE true)

public:
    static constexpr const char* kMenuPath = "/MenuBar";

    using Press = std::function<void(QPoint reported, const QByteArray& token)>;
    using OpenMenu = std::function<void(QPoint reported)>;

    NotifierObject(Press activate, OpenMenu openMenu, QObject* parent = nullptr);

    /// Announces only what is different.
    void setDescription(const QString& description);
    void setImages(const std::vector<QImage>& images);

    [[nodiscard]] QString category() const { return QStringLiteral("ApplicationStatus"); }
    [[nodiscard]] QString id() const { return QStringLiteral("quillet"); }
    [[nodiscard]] QString title() const { return m_description; }
    [[nodiscard]] QString status() const { return QStringLiteral("Active"); }
    [[nodiscard]] int windowId() const { return 0; }
    [[nodiscard]] QString none() const { return {}; }
    [[nodiscard]] NotifierPixmaps iconPixmap() const { return m_icon; }
    [[nodiscard]] NotifierPixmaps noPixmap() const { return {}; }
    [[nodiscard]] NotifierToolTip toolTip() const { return {{}, {}, m_description, {}}; }
    [[nodiscard]] bool itemIsMenu() const { return false; }
    [[nodiscard]] QDBusObjectPath menu() const { return QDBusObjectPath(QLatin1String(kMenuPath)); }

public Q_SLOTS:
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);
    Q_SCRIPTABLE void ProvideXdgActivationToken(const QString& token);

Q_SIGNALS:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewAttentionIcon();
    Q_SCRIPTABLE void NewOverlayIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);

private:
    Press m_activate;
    OpenMenu m_openMenu;
    QString m_description;
    NotifierPixmaps m_icon;
    QByteArray m_token;
};

} // namespace quillet
