#include "FakeServices.h"
#include "platform/linux/desktop/LinuxUserNotices.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

class UserNoticesTest : public BusTest {
protected:
    UserNotice notice(const char* title) {
        return {.subject = u"recording"_s,
                .title = QLatin1String(title),
                .body = u"<Meeting> & more"_s,
                .actionTitle = u"Show"_s,
                .onAction = [this] { ++m_actions; }};
    }
    /// Until the service shows it, and we know.
    void show(const char* title) {
        m_notices.show(notice(title));
        ASSERT_TRUE(
            waitFor([&] { return !m_service.shown.empty() && m_service.shown.back().title == QLatin1String(title); }));
        settle();
    }
    void settle() { test::settle(m_service.bus, m_connection); }

    FakeNotifications m_service{m_bus.connection()};
    LinuxUserNotices m_notices{m_connection};
    int m_actions = 0;
};

TEST_F(UserNoticesTest, AnActionComesOnceAndOnlyForOurNotice) {
    m_service.start();
    show("Recording saved");
    EXPECT_EQ(m_service.shown[0].body, u"&lt;Meeting&gt; &amp; more"_s);
    EXPECT_EQ(m_service.shown[0].actions, (QStringList{u"default"_s, u"Show"_s, u"show"_s, u"Show"_s}));
    Q_EMIT m_service.ActionInvoked(m_service.lastId + 1, u"default"_s);
    Q_EMIT m_service.ActionInvoked(m_service.lastId, u"default"_s);
    Q_EMIT m_service.ActionInvoked(m_service.lastId, u"show"_s);
    EXPECT_TRUE(waitFor([&] { return m_actions == 1; }));
    settle();
    EXPECT_EQ(m_actions, 1);
}

TEST_F(UserNoticesTest, ASubjectHasOneNoticeTheLatest) {
    m_service.start();
    m_notices.show(notice("one"));
    m_notices.show(notice("two"));
    show("three");
    const uint id = m_service.lastId;
    show("four");
    EXPECT_EQ(m_service.shown.back().replaces, id);
    EXPECT_EQ(m_service.lastId, id) << "no second place was taken";

    Q_EMIT m_service.NotificationClosed(id, 2);
    settle();
    show("five");
    EXPECT_EQ(m_service.shown.back().replaces, 0U) << "the user closed the one before";
}

TEST_F(UserNoticesTest, AWithdrawnNoticeGoesAlsoWhenItWasStillOnItsWay) {
    m_service.start();
    show("shown");
    m_notices.withdraw(u"recording"_s);
    ASSERT_TRUE(waitFor([&] { return m_service.taken == QList{m_service.lastId}; }));

    m_notices.show(notice("on its way"));
    waitFor([&] { return m_service.shown.size() == 2; });
    m_notices.withdraw(u"recording"_s); // its number has not come back yet
    EXPECT_TRUE(waitFor([&] { return m_service.taken.size() == 2; }));
    Q_EMIT m_service.ActionInvoked(m_service.lastId, u"default"_s);
    settle();
    EXPECT_EQ(m_actions, 0);
}

TEST_F(UserNoticesTest, AsksNothingOfAServiceThatItCannot) {
    m_service.capabilities = {u"body"_s};
    m_service.start();
    show("plain");
    EXPECT_EQ(m_service.shown[0].body, u"<Meeting> & more"_s);
    EXPECT_TRUE(m_service.shown[0].actions.isEmpty());
}

TEST_F(UserNoticesTest, AServiceMayBeMissingOrStartAnew) {
    m_notices.show(notice("into the void"));
    m_notices.withdraw(u"nothing"_s);
    settle();
    LinuxUserNotices(PrivateBus::none()).show(notice("no bus"));

    m_service.start();
    show("one");
    m_service.stop();
    m_service.start();
    settle();
    show("two");
    EXPECT_EQ(m_service.shown.back().replaces, 0U) << "the number may belong to another program now";
}

} // namespace
} // namespace quillet::test
