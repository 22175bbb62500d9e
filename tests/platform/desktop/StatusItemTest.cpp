#include "FakePanel.h"
#include "platform/linux/desktop/LinuxStatusItem.h"
#include "platform/linux/desktop/PointerHint.h"

#include <QPainter>
#include <QTranslator>

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

class StatusItemTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_bus.started()) << "no dbus-daemon"; }

    void makeItem() {
        m_item = std::make_unique<LinuxStatusItem>(
            StatusItem::Handlers{.activate = [this](const ActivationHint& hint) { m_presses.push_back(hint); },
                                 .menu = [this] { return m_entries; }},
            m_bus.connection(QStringLiteral("item")));
        m_item->presence().subscribe(&m_panel, [this](Presence presence) { m_seen.push_back(presence); });
        m_item->setImage(
            {.symbol = QStringLiteral("mic.circle.fill"), .icon = disc(), .description = QStringLiteral("Quillet")});
    }
    [[nodiscard]] bool becomes(Presence presence) {
        return waitFor([&] { return m_item->presence().value() == presence; });
    }

    PrivateBus m_bus;
    FakePanel m_panel{m_bus.connection(QStringLiteral("panel"))};
    std::vector<MenuEntry> m_entries;
    std::vector<ActivationHint> m_presses;
    std::vector<Presence> m_seen;
    std::unique_ptr<LinuxStatusItem> m_item;
};

TEST_F(StatusItemTest, FollowsThePanelThatComesGoesAndReturns) {
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
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Shown));
    const QString name = m_panel.items.value(0);
    m_item.reset();
    EXPECT_TRUE(waitFor([&] {
        return !callAs(m_panel.bus, QStringLiteral("org.freedesktop.DBus"), "/org/freedesktop/DBus",
                       "org.freedesktop.DBus", "NameHasOwner", {name})
                    .arguments()
                    .value(0)
                    .toBool();
    })) << "a panel drops an item when its connection ends";
}

TEST_F(StatusItemTest, WithoutABusIsAbsentAtOnce) {
    LinuxStatusItem item({.activate = [](const ActivationHint&) {}, .menu = [] { return std::vector<MenuEntry>(); }},
                         PrivateBus::none());
    item.setImage({});
    EXPECT_EQ(item.presence().value(), Presence::Absent);
}

TEST_F(StatusItemTest, ShowsItsImageInEverySizeAndSaysWhatItIs) {
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Shown));

    EXPECT_EQ(m_panel.property("Title").toString(), QStringLiteral("Quillet"));
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(m_panel.property("ToolTip")).title, QStringLiteral("Quillet"));
    EXPECT_EQ(m_panel.property("Status").toString(), QStringLiteral("Active"));
    EXPECT_EQ(m_panel.property("ItemIsMenu").toBool(), false);
    const auto before = qdbus_cast<NotifierPixmaps>(m_panel.property("IconPixmap"));
    QList<int> sizes;
    for (const NotifierPixmap& pixmap : before) {
        EXPECT_EQ(pixmap.data.size(), pixmap.width * pixmap.height * 4);
        sizes << pixmap.width;
    }
    EXPECT_EQ(sizes, (QList{22, 24, 32, 44, 48, 64}));

    m_item->setImage({.symbol = QStringLiteral("record.circle.fill"),
                      .icon = disc(),
                      .description = QStringLiteral("Recording"),
                      .tint = StatusImage::Tint::Recording});
    EXPECT_EQ(m_panel.property("Title").toString(), QStringLiteral("Recording"));
    const auto after = qdbus_cast<NotifierPixmaps>(m_panel.property("IconPixmap"));
    const QByteArray middle = after.last().data.mid((32 * 64 + 32) * 4, 4);
    EXPECT_EQ(static_cast<uchar>(middle[0]), 0xff) << "alpha comes first";
    EXPECT_GT(static_cast<uchar>(middle[1]), 2 * static_cast<uchar>(middle[2])) << "and then red";
}

TEST_F(StatusItemTest, OnlyThePrimaryButtonActivates) {
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Shown));
    (void)m_panel.press("SecondaryActivate", 700, 500);
    (void)callAs(m_panel.bus, m_panel.items.value(0), "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Scroll",
                 {120, QStringLiteral("vertical")});
    (void)callAs(m_panel.bus, m_panel.items.value(0), "/StatusNotifierItem", "org.kde.StatusNotifierItem",
                 "ProvideXdgActivationToken", {QStringLiteral("token-1")});
    EXPECT_EQ(m_panel.press("Activate", 700, 500).type(), QDBusMessage::ReplyMessage);
    (void)m_panel.press("Activate", 3, 5);

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
    m_entries = {{.title = QStringLiteral("Start_Recording"), .action = [&] { ++toggles; }},
                 MenuEntry::separator(),
                 {.title = QStringLiteral("Settings…"), .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Comma)},
                 {.title = QStringLiteral("Busy"), .action = [&] { toggles += 100; }, .enabled = false}};
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Shown));

    const QList<MenuLayout> first = m_panel.menuLines();
    ASSERT_EQ(first.size(), 5);
    EXPECT_EQ(first[0].properties.value(QStringLiteral("label")), QStringLiteral("Start__Recording"))
        << "a single underscore would mark a letter";
    EXPECT_EQ(first[1].properties.value(QStringLiteral("type")), QStringLiteral("separator"));
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(first[2].properties.value(QStringLiteral("shortcut"))),
              (QList<QStringList>{{QStringLiteral("Control"), QStringLiteral("comma")}}));
    EXPECT_EQ(first[3].properties.value(QStringLiteral("enabled")), false);
    EXPECT_FALSE(m_panel.menu("AboutToShow", {0}).arguments().value(0).toBool()) << "nothing is different";

    int stops = 0;
    m_entries[0] = {.title = QStringLiteral("Stop Recording"), .action = [&] { ++stops; }};
    EXPECT_TRUE(m_panel.menu("AboutToShow", {0}).arguments().value(0).toBool());
    EXPECT_EQ(m_panel.menuTitles().first(), QStringLiteral("Stop Recording"));

    m_panel.click(first[0].id); // the panel still showed the line before
    m_panel.click(m_panel.menuLines()[0].id);
    m_panel.click(first[3].id);
    m_panel.click(9999);
    EXPECT_TRUE(waitFor([&] { return toggles == 1 && stops == 1; })) << toggles << " " << stops;
}

/// A language of which every text shows that it was translated.
class MarkedLanguage final : public QTranslator {
public:
    MarkedLanguage() { QCoreApplication::installTranslator(this); }
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char*, const char* source, const char*, int) const override {
        return u'«' + QString::fromUtf8(source) + u'»';
    }
};

TEST_F(StatusItemTest, PanelsThatKeepThePressToThemselvesGetAnEntry) {
    const MarkedLanguage language;
    m_entries = {{.title = QStringLiteral("Quit"), .action = [] {}}};
    m_panel.start();
    makeItem();
    ASSERT_TRUE(becomes(Presence::Shown));
    EXPECT_EQ(m_panel.menuTitles(), (QStringList{QStringLiteral("Quit"), QStringLiteral("«Show Quillet»")}));
    m_panel.click(m_panel.menuLines().last().id);
    EXPECT_TRUE(waitFor([&] { return m_presses.size() == 1; }));

    m_panel.stop();
    ASSERT_TRUE(becomes(Presence::Absent));
    m_panel.bus.registerService(QStringLiteral("org.xfce.Panel"));
    m_panel.start();
    ASSERT_TRUE(becomes(Presence::Shown));
    EXPECT_TRUE(waitFor([&] { return m_panel.menuTitles() == QStringList{QStringLiteral("Quit")}; }));
}

} // namespace
} // namespace quillet::test
