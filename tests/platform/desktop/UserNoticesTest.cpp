#include "FakeServices.h"
#include "platform/linux/desktop/LinuxUserNotices.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

class UserNoticesTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_bus.started()) << "no dbus-daemon"; }

    UserNotice notice(const char* title) {
        return {.subject = QStringLiteral("recording"),
                .title = QLatin1String(title),
                .body = QStringLiteral("<Meeting> & more"),
                .actionTitle = QStringLiteral("Show"),
                .onAction = [this] { ++m_actions; }};
    }
    [[nodiscard]] bool shows(std::size_t count) {
        return waitFor([&] { return m_service.shown.size() == count; });
    }
    void settle() { test::settle(m_service.bus, m_connection); }

    PrivateBus m_bus;
    QDBusConnection m_connection = m_bus.connection(QStringLiteral("quillet"));
    FakeNotifications m_service{m_bus.connection(QStringLiteral("notifications"))};
    LinuxUserNotices m_notices{m_connection};
    int m_actions = 0;
};

TEST_F(UserNoticesTest, AnActionComesOnceAndOnlyForOurNotice) {
    m_service.start();
    m_notices.show(notice("Recording saved"));
    ASSERT_TRUE(shows(1));
    EXPECT_EQ(m_service.shown[0].body, QStringLiteral("&lt;Meeting&gt; &amp; more"));
    EXPECT_EQ(m_service.shown[0].actions, (QStringList{QStringLiteral("default"), QStringLiteral("Show"),
                                                       QStringLiteral("show"), QStringLiteral("Show")}));
    settle();
    Q_EMIT m_service.ActionInvoked(m_service.lastId + 1, QStringLiteral("default"));
    Q_EMIT m_service.ActionInvoked(m_service.lastId, QStringLiteral("default"));
    Q_EMIT m_service.ActionInvoked(m_service.lastId, QStringLiteral("show"));
    EXPECT_TRUE(waitFor([&] { return m_actions == 1; }));
    settle();
    EXPECT_EQ(m_actions, 1);
}

TEST_F(UserNoticesTest, ASubjectHasOneNoticeTheLatest) {
    m_service.start();
    m_notices.show(notice("one"));
    m_notices.show(notice("two"));
    m_notices.show(notice("three"));
    ASSERT_TRUE(
        waitFor([&] { return !m_service.shown.empty() && m_service.shown.back().title == QLatin1String("three"); }));
    const uint id = m_service.lastId;
    settle();
    m_notices.show(notice("four"));
    ASSERT_TRUE(waitFor([&] { return m_service.shown.back().title == QLatin1String("four"); }));
    EXPECT_EQ(m_service.shown.back().replaces, id);
    EXPECT_EQ(m_service.lastId, id) << "no second place was taken";

    settle();
    Q_EMIT m_service.NotificationClosed(id, 2);
    settle();
    m_notices.show(notice("five"));
    ASSERT_TRUE(waitFor([&] { return m_service.shown.back().title == QLatin1String("five"); }));
    EXPECT_EQ(m_service.shown.back().replaces, 0U) << "the user closed the one before";
}

TEST_F(UserNoticesTest, AWithdrawnNoticeGoesAlsoWhenItWasStillOnItsWay) {
    m_service.start();
    m_notices.show(notice("shown"));
    ASSERT_TRUE(shows(1));
    settle();
    m_notices.withdraw(QStringLiteral("recording"));
    ASSERT_TRUE(waitFor([&] { return m_service.taken == QList{m_service.lastId}; }));

    m_notices.show(notice("on its way"));
    waitFor([&] { return m_service.shown.size() == 2; });
    m_notices.withdraw(QStringLiteral("recording")); // its number has not come back yet
    EXPECT_TRUE(waitFor([&] { return m_service.taken.size() == 2; }));
    Q_EMIT m_service.ActionInvoked(m_service.lastId, QStringLiteral("default"));
    settle();
    EXPECT_EQ(m_actions, 0);
}

TEST_F(UserNoticesTest, AsksNothingOfAServiceThatItCannot) {
    m_service.capabilities = {QStringLiteral("body")};
    m_service.start();
    m_notices.show(notice("plain"));
    ASSERT_TRUE(shows(1));
    EXPECT_EQ(m_service.shown[0].body, QStringLiteral("<Meeting> & more"));
    EXPECT_TRUE(m_service.shown[0].actions.isEmpty());
}

TEST_F(UserNoticesTest, AServiceMayBeMissingOrStartAnew) {
    m_notices.show(notice("into the void"));
    m_notices.withdraw(QStringLiteral("nothing"));
    settle();
    LinuxUserNotices(PrivateBus::none()).show(notice("no bus"));

    m_service.start();
    m_notices.show(notice("one"));
    ASSERT_TRUE(shows(1));
    settle();
    m_service.stop();
    m_service.start();
    settle();
    m_notices.show(notice("two"));
    ASSERT_TRUE(shows(2));
    EXPECT_EQ(m_service.shown[1].replaces, 0U) << "the number may belong to another program now";
}

} // namespace
} // namespace quillet::test
