#include "platform/linux/desktop/PortalFileDialogs.h"

#include "platform/linux/desktop/Bus.h"

#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QGuiApplication>
#include <QMimeDatabase>
#include <QUuid>
#include <QWindow>

#include <utility>

namespace quillet {
namespace {

using Outcome = FileAnswer::Outcome;

constexpr bus::Address kChooser{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                "org.freedesktop.portal.FileChooser"};
constexpr bus::Address kProperties{kChooser.service, kChooser.path, "org.freedesktop.DBus.Properties"};
constexpr const char* kRequest = "org.freedesktop.portal.Request";

constexpr uint kFirstWithFolders = 3; ///< versions before it would ask for a file

enum Response : uint { Success = 0, Cancelled = 1, EndedOtherwise = 2 };

/// A dialog that ends otherwise sooner than this was never on the screen; later, its window was closed.
constexpr int kFastestHandMs = 1000;

constexpr uint kMimeType = 1; ///< what a filter goes by

QList<PortalFilter> filtersFor(const QString& mimeType) {
    static const bool isRegistered = [] {
        qDBusRegisterMetaType<PortalFilterRule>();
        qDBusRegisterMetaType<QList<PortalFilterRule>>();
        qDBusRegisterMetaType<PortalFilter>();
        qDBusRegisterMetaType<QList<PortalFilter>>();
        return true;
    }();
    static_cast<void>(isRegistered);
    return {{.name = QMimeDatabase().mimeTypeForName(mimeType).comment(), .rules = {{kMimeType, mimeType}}}};
}

QString requestPath(const QDBusConnection& bus, const QString& token) {
    const QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    return QLatin1String(kChooser.path) + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

std::optional<std::filesystem::path> localPath(const QString& uri) {
    constexpr QLatin1String kScheme("file://");
    if (!uri.startsWith(kScheme)) return std::nullopt;
    const QByteArray path = QByteArray::fromPercentEncoding(uri.mid(kScheme.size()).toUtf8()); // names are bytes
    if (!path.startsWith('/') || path.contains('\0')) return std::nullopt;
    return path.toStdString();
}

QString nameForPortal(const QWindow* window) {
    const bool onX11 = QGuiApplication::platformName() == QLatin1String("xcb");
    return window && onX11 ? QStringLiteral("x11:") + QString::number(window->winId(), 16) : QString();
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& to, const PortalFilterRule& value) {
    to.beginStructure();
    to << value.kind << value.text;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, PortalFilterRule& value) {
    from.beginStructure();
    from >> value.kind >> value.text;
    from.endStructure();
    return from;
}

QDBusArgument& operator<<(QDBusArgument& to, const PortalFilter& value) {
    to.beginStructure();
    to << value.name << value.rules;
    to.endStructure();
    return to;
}
const QDBusArgument& operator>>(const QDBusArgument& from, PortalFilter& value) {
    from.beginStructure();
    from >> value.name >> value.rules;
    from.endStructure();
    return from;
}

PortalFileDialog::PortalFileDialog(const QDBusConnection& bus, FileQuestion question, QString parentWindow,
                                   std::function<void(const FileAnswer&)> answer)
    : m_bus(bus),
      m_question(std::move(question)),
      m_parentWindow(std::move(parentWindow)),
      m_token(QStringLiteral("quillet") + QUuid::createUuid().toString(QUuid::Id128)),
      m_answer(std::move(answer)) {
    const QVariantList version{QLatin1String(kChooser.interface), QStringLiteral("version")};
    bus::ask(m_bus, bus::startingCall(kProperties, "Get", version), this, [this](const QDBusMessage& reply) {
        if (bus::firstValue(reply).toUInt() < kFirstWithFolders) return finish({Outcome::Unavailable});
        open();
    });
}

PortalFileDialog::~PortalFileDialog() {
    if (!m_mayBeOpen) return;
    const QByteArray path = requestPath(m_bus, m_token).toLatin1();
    m_bus.asyncCall(bus::methodCall({kChooser.service, path.constData(), kRequest}, "Close"));
}

void PortalFileDialog::open() {
    connect(&m_portal, &QDBusServiceWatcher::serviceUnregistered, this, [this] { finish({Outcome::Unavailable}); });
    m_portal.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    m_portal.addWatchedService(QLatin1String(kChooser.service));
    m_portal.setConnection(m_bus);
    // Before the question: the answer may be there before the reply. Without a service name: with one, the bus would be
    // asked for its owner, and waited for.
    m_bus.connect(QString(), requestPath(m_bus, m_token), QLatin1String(kRequest), QStringLiteral("Response"), this,
                  SLOT(responded(uint, QVariantMap)));
    m_sinceOpened.start();
    m_mayBeOpen = true;
    const char* const method = m_question.kind == FileQuestion::Kind::Folder ? "OpenFile" : "SaveFile";
    bus::ask(m_bus, bus::methodCall(kChooser, method, {m_parentWindow, m_question.title, options()}), this,
             [this](const QDBusMessage& reply) {
                 if (bus::failed(reply)) finish({Outcome::Unavailable});
             });
}

QVariantMap PortalFileDialog::options() const {
    QVariantMap all{{QStringLiteral("handle_token"), m_token}, {QStringLiteral("modal"), true}};
    if (m_question.startFolder) {
        const std::string& folder = m_question.startFolder->native();
        all.insert(QStringLiteral("current_folder"), QByteArray::fromStdString(folder) + '\0');
    }
    if (m_question.kind == FileQuestion::Kind::Folder) {
        all.insert(QStringLiteral("directory"), true);
    } else {
        all.insert(QStringLiteral("current_name"), m_question.proposedName);
        if (!m_question.mimeType.isEmpty())
            all.insert(QStringLiteral("filters"), QVariant::fromValue(filtersFor(m_question.mimeType)));
    }
    return all;
}

void PortalFileDialog::responded(uint response, const QVariantMap& results) {
    m_mayBeOpen = false;
    if (response == Success) {
        const auto path = localPath(results.value(QStringLiteral("uris")).toStringList().value(0));
        return finish(path ? FileAnswer{Outcome::Chosen, *path} : FileAnswer{Outcome::Unavailable});
    }
    const bool cameToNothing = response == EndedOtherwise && m_sinceOpened.elapsed() < kFastestHandMs;
    finish({cameToNothing ? Outcome::Unavailable : Outcome::Declined});
}

void PortalFileDialog::finish(const FileAnswer& answer) {
    deleteLater();
    // Once: a portal that goes may have answered just before.
    if (const auto tell = std::exchange(m_answer, nullptr)) tell(answer);
}

void PortalFileDialogs::ask(const FileQuestion& question, QWindow* over,
                            std::function<void(const FileAnswer&)> answer) {
    delete m_open;
    m_open = new PortalFileDialog(m_bus, question, nameForPortal(over), std::move(answer));
    if (!over) return;
    QObject::connect(over, &QWindow::visibleChanged, m_open, [dialog = m_open](bool visible) {
        if (!visible) delete dialog;
    });
    QObject::connect(over, &QObject::destroyed, m_open, [dialog = m_open] { delete dialog; });
}

} // namespace quillet
