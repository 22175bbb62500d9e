#include "FakePanel.h"
#include "platform/linux/desktop/LinuxStatusItem.h"
#include "platform/linux/desktop/PointerHint.h"

#include <QPainter>

#include <gtest/gtest.h>

#include <optional>

namespace quillet::test {
namespace {

using Presence = StatusItem::Presence;

QIcon disc() {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setBrush(Qt::black);
    painter.drawEllipse(4, 4, 56, 56);
    return pixmap;
}

class StatusItemTest : public BusTest {
protected:
    void makeItem() {
        m_item = std::make_unique<LinuxStatusItem>(
            StatusItem::Handlers{.activate = [this](const ActivationHint& hint) { m_presses.push_back(hint); },
                                 .menu = [this] { return m_entries; }},
            m_bus.connection());
        m_item->presence().subscribe(&m_panel, [this](Presence presence) { m_seen.push_back(presence); });
        m_item->setImage({.symbol = u"mic.circle.fill"_s, .icon = disc(), .description = u"Quillet"_s});
    }
    /// In a panel.
    void showItem() {
        m_panel.start();
        makeItem();
        EXPECT_TRUE(becomes(Presence::Shown));
    }
    [[nodiscard]] bool becomes(Presence presence) {
        return waitFor([&] { return m_item->presence().value() == presence; });
    }

    FakePanel m_panel{m_bus.connection()};
    std::vector<MenuEntry> m_entries;
    std::vector<ActivationHint> m_presses;
    std::vector<Presence> m_seen;
    std::unique_ptr<LinuxStatusItem> m_item;
};

TEST_F(StatusItemTest, FollowsThePanelThatComesGoesAndReturns) {
    LinuxStatusItem withoutABus({}, PrivateBus::none());
    withoutABus.setImage({});
    EXPECT_EQ(withoutABus.presence().value(), Presence::Absent);
    makeItem();
    ASSERT_TRUE(becomes(Presence::Absent)) << "nobody has the watcher's name";

    m_panel.start();
    ASSERT_TRUE(becomes(Presence::Shown));
    m_panel.stop();
    ASSERT_TRUE(becomes(Presence::Absent));
    m_panel.takeName(); // a moment before its object answers
    processEvents();
    m_panel.answer();
    ASSERT_TRUE(becomes(Presence::Shown));

    EXPECT_EQ(m_panel.items.size(), 2) << "once for each life of the panel";
    EXPECT_EQ(m_seen,
              (std::vector{Presence::Unknown, Presence::Absent, Presence::Shown, Presence::Absent, Presence::Shown}))
        << "told only what is different";
}

TEST_F(StatusItemTest, AWatcherWithoutAPanelShowsNothing) {
    m_panel.hasHost = false;
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Absent));
    EXPECT_EQ(m_panel.items.size(), 1) << "ready for the panel that may come";

    m_panel.hasHost = true;
    Q_EMIT m_panel.StatusNotifierHostRegistered();
    ASSERT_TRUE(becomes(Presence::Shown));
    m_panel.hasHost = false;
    Q_EMIT m_panel.StatusNotifierHostUnregistered();
    EXPECT_TRUE(becomes(Presence::Absent));
}

TEST_F(StatusItemTest, LeavesThePanelWhenItIsDestroyed) {
    showItem();
    const QString name = m_panel.items.value(0);
    m_item.reset();
    const auto isThere = [&] {
        return callAs(m_panel.bus, u"org.freedesktop.DBus"_s, "/", "org.freedesktop.DBus", "NameHasOwner", {name})
            .arguments()
            .contains(true);
    };
    EXPECT_TRUE(waitFor([&] { return !isThere(); })) << "a panel drops an item when its connection ends";
}

TEST_F(StatusItemTest, ShowsItsImageInEverySizeAndSaysWhatItIs) {
    showItem();

    EXPECT_EQ(m_panel.property("Title").toString(), u"Quillet"_s);
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(m_panel.property("ToolTip")).title, u"Quillet"_s);
    EXPECT_EQ(m_panel.property("Status").toString(), u"Active"_s);
    EXPECT_EQ(m_panel.property("ItemIsMenu").toBool(), false);
    const auto before = qdbus_cast<NotifierPixmaps>(m_panel.property("IconPixmap"));
    QList<int> sizes;
    for (const NotifierPixmap& pixmap : before) {
        EXPECT_EQ(pixmap.data.size(), pixmap.width * pixmap.height * 4);
        sizes << pixmap.width;
    }
    EXPECT_EQ(sizes, (QList{22, 24, 32, 44, 48, 64}));

    m_item->setImage({.symbol = u"record.circle.fill"_s,
                      .icon = disc(),
                      .description = u"Recording"_s,
                      .tint = StatusImage::Tint::Recording});
    EXPECT_EQ(m_panel.property("Title").toString(), u"Recording"_s);
    const auto after = qdbus_cast<NotifierPixmaps>(m_panel.property("IconPixmap"));
    const QByteArray middle = after.last().data.mid((32 * 64 + 32) * 4, 4);
    EXPECT_EQ(static_cast<uchar>(middle[0]), 0xff) << "alpha comes first";
    EXPECT_GT(static_cast<uchar>(middle[1]), 2 * static_cast<uchar>(middle[2])) << "and then red";
}

TEST_F(StatusItemTest, OnlyThePrimaryButtonActivates) {
    showItem();
    m_panel.call("SecondaryActivate", {700, 500});
    m_panel.call("Scroll", {120, u"vertical"_s});
    m_panel.call("ProvideXdgActivationToken", {u"token-1"_s});
    EXPECT_EQ(m_panel.call("Activate", {700, 500}).type(), QDBusMessage::ReplyMessage);
    m_panel.call("Activate", {3, 5});

    ASSERT_TRUE(waitFor([&] { return m_presses.size() == 2; }));
    EXPECT_EQ(m_presses[0].point, QPoint(700, 500));
    EXPECT_EQ(m_presses[0].activationToken, "token-1");
    EXPECT_EQ(m_presses[1].point, std::nullopt) << "a place within the icon is none on the screen";
    EXPECT_EQ(m_presses[1].activationToken, "") << "a token is for one press";
}

TEST(PointerHintTest, BelievesThePointerThenAPlaceOnAScreen) {
    const QList<QRect> screens{{0, 0, 1280, 900}, {1280, 0, 1920, 1080}};
    const struct {
        const char* name;
        QPoint reported;
        std::optional<QPoint> pointer;
        std::optional<QPoint> expected;
    } rows[] = {
        {"X11 knows the pointer", {700, 12}, QPoint(640, 10), QPoint(640, 10)},
        {"a place on the second screen", {3000, 1060}, {}, QPoint(3000, 1060)},
        {"nothing told", {0, 0}, {}, {}},
        {"a place within the icon", {11, 17}, {}, {}},
        {"off every screen", {5000, 20}, {}, {}},
        {"below the first, shorter screen", {400, 1000}, {}, {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(believablePoint(row.reported, row.pointer, screens), row.expected) << row.name;
}

TEST_F(StatusItemTest, TheMenuIsMadeAnewEachTimeItOpens) {
    int toggles = 0;
    m_entries = {{.title = u"Start_Recording"_s, .action = [&] { ++toggles; }},
                 MenuEntry::separator(),
                 {.title = u"Settings…"_s, .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Comma)},
                 {.title = u"Busy"_s, .action = [&] { toggles += 100; }, .enabled = false}};
    showItem();

    const QList<MenuLayout> first = m_panel.menuLines();
    ASSERT_EQ(first.size(), 5);
    EXPECT_EQ(first[0].properties.value(u"label"_s), u"Start__Recording"_s)
        << "a single underscore would mark a letter";
    EXPECT_EQ(first[1].properties.value(u"type"_s), u"separator"_s);
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(first[2].properties.value(u"shortcut"_s)),
              (QList<QStringList>{{u"Control"_s, u"comma"_s}}));
    EXPECT_EQ(first[3].properties.value(u"enabled"_s), false);
    EXPECT_FALSE(m_panel.menu("AboutToShow", {0}).arguments().value(0).toBool()) << "nothing is different";

    int stops = 0;
    m_entries[0] = {.title = u"Stop Recording"_s, .action = [&] { ++stops; }};
    EXPECT_TRUE(m_panel.menu("AboutToShow", {0}).arguments().value(0).toBool());
    EXPECT_EQ(m_panel.menuTitles().first(), u"Stop Recording"_s);

    m_panel.click(first[0].id); // the panel still showed the line before
    m_panel.click(m_panel.menuLines()[0].id);
    m_panel.click(first[3].id);
    m_panel.click(9999);
    EXPECT_TRUE(waitFor([&] { return toggles == 1 && stops == 1; })) << toggles << " " << stops;
}

TEST_F(StatusItemTest, PanelsThatKeepThePressToThemselvesGetAnEntry) {
    m_entries = {{.title = u"Quit"_s, .action = [] {}}};
    showItem();
    EXPECT_EQ(m_panel.menuTitles(), (QStringList{u"Quit"_s, u"Show Quillet"_s}));
    m_panel.click(m_panel.menuLines().last().id);
    EXPECT_TRUE(waitFor([&] { return m_presses.size() == 1; }));

    m_panel.stop();
    ASSERT_TRUE(becomes(Presence::Absent));
    m_panel.bus.registerService(u"org.xfce.Panel"_s);
    m_panel.start();
    ASSERT_TRUE(becomes(Presence::Shown));
    EXPECT_TRUE(waitFor([&] { return m_panel.menuTitles() == QStringList{u"Quit"_s}; }));
}

} // namespace
} // namespace quillet::test
