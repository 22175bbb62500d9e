#include "FakeServices.h"
#include "platform/linux/desktop/PortalFileDialogs.h"

#include <QWindow>

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using Outcome = FileAnswer::Outcome;

class FileDialogsTest : public BusTest {
protected:
    void ask(QWindow* over = nullptr) {
        m_dialogs.ask({.title = u"Choose"_s, .startFolder = "/tmp/\xff"}, over,
                      [this](const FileAnswer& answer) { m_answers.push_back(answer); });
    }
    [[nodiscard]] bool isAsked(std::size_t times) {
        return waitFor([&] { return m_portal.asked.size() == times; });
    }

    FakeFileChooserPortal m_portal{m_bus.connection()};
    PortalFileDialogs m_dialogs{m_connection};
    std::vector<FileAnswer> m_answers;
};

TEST_F(FileDialogsTest, WhatThePortalSaysOrDoesNotSayIsOneOfThreeAnswers) {
    const auto responds = [this](uint response, const char* uri) {
        return [=, this] { m_portal.respond(response, {QLatin1String(uri)}); };
    };
    const auto closed = [this] {
        (void)waitFor([] { return false; }, 1200); // as a hand would
        m_portal.respond(2, {});
    };
    const struct {
        const char* name;
        std::function<void()> beforehand;
        std::function<void()> onceAsked; ///< null: the portal is never asked for a dialog
        Outcome outcome;
        const char* path;
    } rows[] = {
        {"no portal", [this] { m_portal.stop(); }, nullptr, Outcome::Unavailable, ""},
        {"a portal without folders", [this] { m_portal.version = 2; }, nullptr, Outcome::Unavailable, ""},
        {"chosen", {}, responds(0, "file:///tmp/Gr%C3%B6%C3%9Fe%20100%25"), Outcome::Chosen, "/tmp/Größe 100%"},
        {"names are bytes", {}, responds(0, "file:///tmp/%FF"), Outcome::Chosen, "/tmp/\xff"},
        {"no folder of this machine", {}, responds(0, "smb://server/share"), Outcome::Unavailable, ""},
        {"cancelled", {}, responds(1, ""), Outcome::Declined, ""},
        {"came to nothing", {}, responds(2, ""), Outcome::Unavailable, ""},
        {"closed by its frame", {}, closed, Outcome::Declined, ""},
        {"refused", [this] { m_portal.refuses = true; }, [] {}, Outcome::Unavailable, ""},
        {"gone in the middle", {}, [this] { m_portal.stop(); }, Outcome::Unavailable, ""},
        {"silent", [this] { m_portal.isSilent = true; }, [] {}, Outcome::Unavailable, ""},
    };
    for (const auto& row : rows) {
        m_portal.start();
        m_portal.version = 3;
        m_portal.refuses = m_portal.isSilent = false;
        m_portal.asked.clear();
        m_answers.clear();
        if (row.beforehand) row.beforehand();
        ask();
        if (row.onceAsked) {
            ASSERT_TRUE(isAsked(1)) << row.name;
            row.onceAsked();
        }
        ASSERT_TRUE(waitFor([&] { return !m_answers.empty(); }, 8000)) << row.name;
        EXPECT_EQ(m_answers.front().outcome, row.outcome) << row.name;
        EXPECT_EQ(m_answers.front().path, row.path) << row.name;
        settle(m_portal.bus, m_connection);
        EXPECT_EQ(m_answers.size(), 1U) << row.name;
        EXPECT_EQ(m_portal.asked.size(), row.onceAsked ? 1U : 0U) << row.name;
    }
    EXPECT_TRUE(waitFor([&] { return m_portal.dialog.closes == 2; })) << "what was refused or came too late";

    PortalFileDialogs(PrivateBus::none()).ask({}, nullptr, [this](const FileAnswer& answer) {
        m_answers.push_back(answer);
    });
    EXPECT_EQ(m_answers.size(), 1U) << "gone before it could answer";
}

TEST_F(FileDialogsTest, ADialogGoesWithItsWindowAndGivesWayToTheNext) {
    m_portal.start();
    QWindow window;
    window.show();
    ask(&window);
    ASSERT_TRUE(isAsked(1));
    const auto& [method, parent, title, options, request] = m_portal.asked.front();
    EXPECT_EQ(method + title, u"OpenFileChoose"_s);
    EXPECT_TRUE(options.value(u"directory"_s).toBool());
    EXPECT_EQ(options.value(u"current_folder"_s).toByteArray(), QByteArray("/tmp/\xff", 7));

    ask(&window);
    ASSERT_TRUE(isAsked(2));
    EXPECT_TRUE(waitFor([&] { return m_portal.dialog.closes == 1; }));
    window.hide();
    EXPECT_TRUE(waitFor([&] { return m_portal.dialog.closes == 2; }));
    m_portal.respond(0, {u"file:///tmp"_s});
    settle(m_portal.bus, m_connection);
    EXPECT_TRUE(m_answers.empty()) << "nobody waits for it any more";

    m_dialogs.ask(
        {.kind = FileQuestion::Kind::NewFile, .proposedName = u"Weekly.json"_s, .mimeType = u"application/json"_s},
        nullptr, [this](const FileAnswer& answer) { m_answers.push_back(answer); });
    ASSERT_TRUE(isAsked(3));
    EXPECT_EQ(m_portal.asked.back().method, u"SaveFile"_s);
    EXPECT_EQ(m_portal.asked.back().options.value(u"current_name"_s), u"Weekly.json"_s);
    const auto filters = m_portal.asked.back().options.value(u"filters"_s).value<QDBusArgument>();
    EXPECT_EQ(filters.currentSignature(), u"a(sa(us))"_s);
    const auto sent = qdbus_cast<QList<PortalFilter>>(filters);
    ASSERT_EQ(sent.size(), 1);
    EXPECT_EQ(sent[0].rules[0].kind, 1U) << "a MIME type";
    EXPECT_EQ(sent[0].rules[0].text, u"application/json"_s);
}

} // namespace
} // namespace quillet::test
