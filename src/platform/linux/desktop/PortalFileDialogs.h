#pragma once

#include "platform/FileDialogs.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

namespace quillet {

/// "(us)": what a filter lets through.
struct PortalFilterRule {
    uint kind = 0;
    QString text{};
};

/// "(sa(us))": files to choose among.
struct PortalFilter {
    QString name{};
    QList<PortalFilterRule> rules{};
};

QDBusArgument& operator<<(QDBusArgument& to, const PortalFilterRule& value);
QDBusArgument& operator<<(QDBusArgument& to, const PortalFilter& value);
const QDBusArgument& operator>>(const QDBusArgument& from, PortalFilterRule& value);
const QDBusArgument& operator>>(const QDBusArgument& from, PortalFilter& value);

/// One dialog of the desktop portal, from the question to the answer, which comes as a signal: a person takes their
/// time. Deletes itself once it has answered; deleted before, it takes the dialog off the screen.
class PortalFileDialog : public QObject {
    Q_OBJECT

public:
    PortalFileDialog(const QDBusConnection& bus, FileQuestion question, QString parentWindow,
                     std::function<void(const FileAnswer&)> answer);
    ~PortalFileDialog() override;

private Q_SLOTS:
    void responded(uint response, const QVariantMap& results);

private:
    void open();
    [[nodiscard]] QVariantMap options() const;
    void finish(const FileAnswer& answer);

    QDBusConnection m_bus;
    const FileQuestion m_question;
    const QString m_parentWindow;
    const QString m_token; ///< ours alone, so nobody else can answer
    std::function<void(const FileAnswer&)> m_answer;
    QDBusServiceWatcher m_portal;
    QElapsedTimer m_sinceOpened;
    bool m_mayBeOpen = false;
};

/// The folder and save dialogs of the desktop portal. The portal may be missing, too old, come to nothing or hang:
/// after a few seconds at most the question is given back as unavailable.
class PortalFileDialogs final : public FileDialogs {
public:
    explicit PortalFileDialogs(const QDBusConnection& bus) : m_bus(bus) {}
    ~PortalFileDialogs() override { delete m_open; }
    PortalFileDialogs(const PortalFileDialogs&) = delete;
    PortalFileDialogs& operator=(const PortalFileDialogs&) = delete;

    void ask(const FileQuestion& question, QWindow* over, std::function<void(const FileAnswer&)> answer) override;

private:
    QDBusConnection m_bus;
    QPointer<PortalFileDialog> m_open;
};

} // namespace quillet
