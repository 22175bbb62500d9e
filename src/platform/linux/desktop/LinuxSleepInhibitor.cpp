#include "platform/linux/desktop/LinuxSleepInhibitor.h"

#include "platform/linux/desktop/Bus.h"

#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>

#include <functional>
#include <utility>
#include <vector>

namespace quillet {
namespace {

constexpr bus::Address kLogin{"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager"};
constexpr bus::Address kScreenSaver{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                    "org.freedesktop.ScreenSaver"};
constexpr bus::Address kPortal{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                               "org.freedesktop.portal.Inhibit"};

constexpr uint kSuspend = 4; // the portal's flags
constexpr uint kIdle = 8;

QString whoAsks() { return QStringLiteral("Quillet"); }

} // namespace

/// What was granted, and how each is given back. Answers arrive here even after the hold has ended.
struct LinuxSleepInhibitor::Grants {
    bool ended = false;
    std::vector<std::function<void()>> giveBack{};

    void add(std::function<void()> back) {
        if (ended) {
            back();
        } else {
            giveBack.push_back(std::move(back));
        }
    }
};

class LinuxSleepInhibitor::LinuxHold final : public Hold {
public:
    explicit LinuxHold(std::shared_ptr<Grants> grants) : m_grants(std::move(grants)) {}
    LinuxHold(const LinuxHold&) = delete;
    LinuxHold& operator=(const LinuxHold&) = delete;
    ~LinuxHold() override {
        m_grants->ended = true;
        for (const auto& back : std::exchange(m_grants->giveBack, {})) back();
    }

private:
    std::shared_ptr<Grants> m_grants;
};

LinuxSleepInhibitor::LinuxSleepInhibitor(const QDBusConnection& systemBus, const QDBusConnection& sessionBus)
    : m_systemBus(systemBus), m_sessionBus(sessionBus) {}

std::unique_ptr<SleepInhibitor::Hold> LinuxSleepInhibitor::hold(const QString& reason) {
    const auto grants = std::make_shared<Grants>();
    askLoginManager(grants, reason);
    askScreenSaver(grants, reason);
    return std::make_unique<LinuxHold>(grants);
}

void LinuxSleepInhibitor::askLoginManager(const std::shared_ptr<Grants>& grants, const QString& reason) {
    const QVariantList arguments{QStringLiteral("sleep:idle"), whoAsks(), reason, QStringLiteral("block")};
    bus::ask(m_systemBus, bus::methodCall(kLogin, "Inhibit", arguments), this, [grants](const QDBusMessage& reply) {
        if (bus::failed(reply)) return;
        // Giving back is letting go of the descriptor: with the closure that holds it.
        grants->add(
            [descriptor = bus::firstValue(reply).value<QDBusUnixFileDescriptor>()]() mutable { descriptor = {}; });
    });
}

void LinuxSleepInhibitor::askScreenSaver(const std::shared_ptr<Grants>& grants, const QString& reason) {
    bus::ask(m_sessionBus, bus::methodCall(kScreenSaver, "Inhibit", {whoAsks(), reason}), this,
             [this, grants, reason](const QDBusMessage& reply) {
                 if (bus::failed(reply)) return grants->ended ? void() : askPortal(grants, reason);
                 grants->add([sessionBus = m_sessionBus, cookie = bus::firstValue(reply).toUInt()] {
                     sessionBus.asyncCall(bus::methodCall(kScreenSaver, "UnInhibit", {cookie}));
                 });
             });
}

void LinuxSleepInhibitor::askPortal(const std::shared_ptr<Grants>& grants, const QString& reason) {
    const QVariantList arguments{QString(), kSuspend | kIdle, QVariantMap{{QStringLiteral("reason"), reason}}};
    bus::ask(
        m_sessionBus, bus::methodCall(kPortal, "Inhibit", arguments), this, [this, grants](const QDBusMessage& reply) {
            if (bus::failed(reply)) return;
            const QString request = bus::firstValue(reply).value<QDBusObjectPath>().path();
            grants->add([sessionBus = m_sessionBus, request] {
                sessionBus.asyncCall(QDBusMessage::createMethodCall(QLatin1String(kPortal.service), request,
                                                                    QStringLiteral("org.freedesktop.portal.Request"),
                                                                    QStringLiteral("Close")));
            });
        });
}

} // namespace quillet
