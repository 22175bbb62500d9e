#include "FakeServices.h"
#include "platform/linux/desktop/Bus.h"
#include "platform/linux/desktop/LinuxAppearance.h"
#include "platform/linux/desktop/LinuxDesktopFiles.h"
#include "platform/linux/desktop/LinuxSingleInstance.h"
#include "platform/linux/desktop/LinuxSleepInhibitor.h"
#include "platform/linux/desktop/LinuxStatusItem.h"
#include "platform/linux/desktop/LinuxUserNotices.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <cmath>

namespace quillet::test {
namespace {

using Scheme = Appearance::Scheme;

class DesktopServicesTest : public BusTest {
protected:
    QDBusConnection m_desktop = m_bus.connection();
};

TEST_F(DesktopServicesTest, TheMachineStaysAwakeForAsLongAsAHoldLives) {
    FakeLoginManager login(m_desktop);
    FakeScreenSaver screenSaver(m_desktop);
    login.start();
    screenSaver.start();
    LinuxSleepInhibitor inhibitor(m_connection, m_connection);

    auto first = inhibitor.hold(u"Recording a meeting"_s);
    auto second = inhibitor.hold(u"Recording a meeting"_s);
    ASSERT_TRUE(waitFor([&] { return login.held() == 2 && screenSaver.held.size() == 2; }));
    EXPECT_EQ(login.asked.value(0), u"sleep:idle|Quillet|Recording a meeting|block"_s);

    settle(m_desktop, m_connection);
    first.reset();
    EXPECT_TRUE(waitFor([&] { return login.held() == 1 && screenSaver.held == QList{8U}; }));
    second.reset();
    EXPECT_TRUE(waitFor([&] { return login.held() == 0 && screenSaver.held.isEmpty(); }));

    inhibitor.hold(u"Over before it was granted"_s).reset();
    ASSERT_TRUE(waitFor([&] { return login.asked.size() == 3 && screenSaver.lastCookie == 9; }));
    EXPECT_TRUE(waitFor([&] { return login.held() == 0 && screenSaver.held.isEmpty(); })) << "given back on arrival";
}

TEST_F(DesktopServicesTest, ThePortalServesWhereNoScreenSaverDoes) {
    FakeInhibitPortal portal(m_desktop);
    portal.start();
    LinuxSleepInhibitor inhibitor(PrivateBus::none(), m_connection);
    auto hold = inhibitor.hold(u"Recording"_s);
    ASSERT_TRUE(waitFor([&] { return portal.flagsAsked == QList{12U}; })) << "suspend and idle";
    settle(m_desktop, m_connection);
    EXPECT_EQ(portal.request.closes, 0);
    hold.reset();
    EXPECT_TRUE(waitFor([&] { return portal.request.closes == 1; }));

    EXPECT_TRUE(LinuxSleepInhibitor(PrivateBus::none(), PrivateBus::none()).hold(u"x"_s));
}

TEST_F(DesktopServicesTest, TheLookFollowsThePortal) {
    FakeSettingsPortal portal(m_desktop);
    const QString look = u"org.freedesktop.appearance"_s;
    const QString interface = u"org.gnome.desktop.interface"_s;
    const QString scheme = u"color-scheme"_s;
    const QString scale = u"text-scaling-factor"_s;
    const QString animations = u"enable-animations"_s;
    portal.settings = {{look + QLatin1Char(' ') + scheme, 1U}, {interface + QLatin1Char(' ') + scale, 1.25}};
    portal.start();
    LinuxAppearance appearance(m_connection);
    EXPECT_EQ(appearance.scheme().value(), std::nullopt) << "nobody waits for the answer";
    ASSERT_TRUE(waitFor([&] { return appearance.scheme().value() && appearance.textScale().value(); }));
    EXPECT_EQ(appearance.scheme().value(), Scheme::Dark);
    EXPECT_EQ(appearance.textScale().value(), 1.25);
    EXPECT_EQ(appearance.animations().value(), std::nullopt) << "this portal does not know";

    const struct {
        const char* name;
        QString group, key;
        QVariant value;
        std::optional<Scheme> scheme;
        std::optional<double> scale;
        std::optional<bool> animations;
    } rows[] = {
        {"light", look, scheme, 2U, Scheme::Light, 1.25, {}},
        {"another program's setting", u"org.example"_s, scheme, 1U, Scheme::Light, 1.25, {}},
        {"still", interface, animations, false, Scheme::Light, 1.25, false},
        {"no preference", look, scheme, 0U, {}, 1.25, false},
        {"not a number", interface, scale, u"large"_s, {}, {}, false},
        {"twice as large", interface, scale, 2.0, {}, 2.0, false},
        {"beyond sense", interface, scale, 1e9, {}, {}, false},
        {"a value that is none", interface, scale, std::nan(""), {}, {}, false},
        {"a value of another type", look, scheme, u"dark"_s, {}, {}, false},
        {"moving again", interface, animations, true, {}, {}, true},
    };
    for (const auto& row : rows) {
        Q_EMIT portal.SettingChanged(row.group, row.key, QDBusVariant(row.value));
        EXPECT_TRUE(waitFor([&] {
            return appearance.scheme().value() == row.scheme && appearance.textScale().value() == row.scale &&
                   appearance.animations().value() == row.animations;
        })) << row.name;
    }
}

TEST_F(DesktopServicesTest, ARecordingIsSelectedInTheFileManagerOrItsFolderOpened) {
    std::vector<std::filesystem::path> opened;
    LinuxDesktopFiles files(m_connection, [&](const std::filesystem::path& folder) { opened.push_back(folder); });
    files.revealInFileManager("/tmp/Größe 100%/a#b?.m4a");
    ASSERT_TRUE(waitFor([&] { return opened.size() == 1; })) << "no file manager on the bus";
    EXPECT_EQ(opened[0], "/tmp/Größe 100%");

    FakeFileManager manager(m_desktop);
    manager.start();
    files.revealInFileManager("/tmp/Größe 100%/a#b?.m4a");
    ASSERT_TRUE(waitFor([&] { return !manager.shown.isEmpty(); }));
    EXPECT_EQ(manager.shown.value(0), u"file:///tmp/Gr%C3%B6%C3%9Fe%20100%25/a%23b%3F.m4a"_s);
    settle(m_desktop, m_connection);
    EXPECT_EQ(opened.size(), 1U) << "not both";
}

TEST_F(DesktopServicesTest, ABusThatHasStoppedHoldsNobodyUp) {
    const QDBusConnection ofTheItem = m_bus.connection();
    m_bus.freeze();
    QElapsedTimer timer;
    timer.start();

    const LinuxAppearance appearance(m_connection);
    LinuxUserNotices notices(m_connection);
    notices.show({.subject = u"recording"_s, .title = u"Recording saved"_s});
    LinuxSleepInhibitor(m_connection, m_connection).hold(u"Recording"_s).reset();
    LinuxDesktopFiles(m_connection, {}).revealInFileManager("/tmp/a.m4a");
    LinuxSingleInstance instance(m_connection, QString());
    instance.claim(RemoteCommand::Open, {}, {});
    LinuxStatusItem item({.activate = {}, .menu = [] { return std::vector<MenuEntry>(); }}, ofTheItem);
    item.setImage({.description = u"Quillet"_s});
    item.refreshMenu();
    notices.withdraw(u"recording"_s);
    processEvents();

    EXPECT_LT(timer.elapsed(), bus::kPatienceMs / 2) << "whoever waits for an answer waits longer";
    EXPECT_EQ(item.presence().value(), StatusItem::Presence::Unknown);
}

} // namespace
} // namespace quillet::test
