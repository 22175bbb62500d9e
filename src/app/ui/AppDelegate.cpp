#include "app/ui/AppDelegate.h"

#include "app/ui/MenuView.h"
#include "app/ui/Popover.h"
#include "platform/LoginItem.h"
#include "platform/MenuFilling.h"
#include "widgets/Controls.h"
#include "widgets/Symbol.h"
#include "widgets/WindowHost.h"

#include <QCursor>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QShortcut>
#include <QWindow>

#include <chrono>

namespace quillet {
namespace {

using namespace std::chrono_literals;

constexpr auto kBlinkInterval = 600ms;
constexpr auto kOnboardingDelay = 500ms;
/// At login the panel may come after us.
constexpr auto kPatience = 10s;

constexpr QSize kOnboardingSize(480, 560);
constexpr QSize kSettingsSize(720, 520);
constexpr QSize kLeastSettingsSize(620, 460);

/// The pointer, where the window system tells its place at any time.
std::optional<QPoint> pointer() {
    if (QGuiApplication::platformName() == QLatin1String("wayland")) return std::nullopt;
    return QCursor::pos();
}

bool skipsOnboarding(const QStringList& arguments) { return arguments.contains(QLatin1String("--skip-onboarding")); }

} // namespace

AppDelegate::AppDelegate(Services services) : m_services(std::move(services)) {
    m_recordingBlinkTimer.setInterval(kBlinkInterval);
    connect(&m_recordingBlinkTimer, &QTimer::timeout, this, [this] {
        m_blinkState = !m_blinkState;
        m_image.tint = m_blinkState ? StatusImage::Tint::Recording : StatusImage::Tint::Label;
        showStatusImage();
    });
    m_patienceWithTheTray.setSingleShot(true);
    connect(&m_patienceWithTheTray, &QTimer::timeout, this, [this] {
        if (m_statusItem) presenceChanged(m_statusItem->presence().value());
    });
}

AppDelegate::~AppDelegate() {
    if (m_onboardingWindow) m_onboardingWindow->disconnect(this);
    delete m_onboardingWindow;
    delete m_settingsWindow;
}

bool AppDelegate::rememberAboutOnboarding(const QStringList& arguments, UserDefaults& defaults) {
    const bool resets = arguments.contains(QLatin1String("--reset-onboarding"));
    const bool skips = skipsOnboarding(arguments);
    if (resets) defaults.remove(DefaultsKeys::hasCompletedOnboarding);
    if (skips) defaults.set(DefaultsKeys::hasCompletedOnboarding, true);
    return resets || skips;
}

void AppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
    rememberAboutOnboarding(arguments, m_services.defaults);
    if (arguments.contains(QLatin1String(kStartedAtLoginArgument))) m_patienceWithTheTray.start(kPatience);
    // Asked for the argument too, because settings may not be stored.
    m_onboardingComesFirst =
        !skipsOnboarding(arguments) && !m_services.defaults.boolean(DefaultsKeys::hasCompletedOnboarding);
    if (m_onboardingComesFirst) QTimer::singleShot(kOnboardingDelay, this, [this] { showOnboarding(); });
    setupMenuBar();
    observeRecordingState();
    m_services.notifications.observe(Notifications::openSettingsRequested, this, [this](const QVariantMap& info) {
        menuOpenSettings(info.value(QStringLiteral("section")).toString());
    });
    m_services.notifications.observe(Notifications::onboardingDidComplete, this, [this](const QVariantMap&) {
        if (m_onboardingWindow) m_onboardingWindow->close();
        onboardingIsOver();
    });
}

void AppDelegate::setupMenuBar() {
    m_statusItem = m_services.makeStatusItem(
        {.activate = [this](const ActivationHint& hint) { statusItemViewTogglePopover(hint); },
         .menu = [this] { return makeContextMenu(); }});
    if (m_statusItem)
        m_statusItem->presence().subscribe(this, [this](StatusItem::Presence presence) { presenceChanged(presence); });
}

void AppDelegate::observeRecordingState() {
    m_services.engine->isRecording.subscribe(this, [this](bool recording) { updateMenuBarIcon(recording); });
}

void AppDelegate::updateMenuBarIcon(bool recording) {
    m_recordingBlinkTimer.stop();
    if (!m_statusItem) return;
    const QString symbol = recording ? QStringLiteral("record.circle.fill") : QStringLiteral("mic.circle.fill");
    m_image = {.symbol = symbol,
               .icon = symbolIcon(symbol, Qt::black),
               .description = recording ? tr("Recording") : tr("Quillet"),
               .tint = recording ? StatusImage::Tint::Recording : StatusImage::Tint::Plain};
    if (recording) {
        m_blinkState = true;
        m_recordingBlinkTimer.start();
    }
    showStatusImage();
    m_statusItem->refreshMenu();
}

void AppDelegate::showStatusImage() {
    if (m_statusItem) m_statusItem->setImage(m_image);
}

std::vector<MenuEntry> AppDelegate::makeContextMenu() {
    const bool recording = m_services.engine->isRecording.value();
    return {
        {.title = recording ? tr("Stop Recording") : tr("Start Recording"),
         .action = [this] { menuStartStopRecording(); }},
        MenuEntry::separator(),
        {.title = tr("Settings…"),
         .action = [this] { menuOpenSettings(); },
         .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Comma)},
        MenuEntry::separator(),
        {.title = tr("Check for Updates..."),
         .action = [this] { menuCheckForUpdates(); },
         .enabled = m_services.updaterManager->canCheckForUpdates.value()},
        MenuEntry::separator(),
        {.title = tr("Quit"), .action = [this] { menuQuit(); }, .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Q)},
    };
}

void AppDelegate::menuStartStopRecording() { m_services.control.toggle(); }

void AppDelegate::menuCheckForUpdates() { m_services.updaterManager->checkForUpdates(); }

void AppDelegate::menuQuit() {
    m_statusItem.reset(); // the process ends without destructors, and panels keep the icons of those that just vanish
    m_services.terminate();
}

void AppDelegate::menuOpenSettings(const QString& section) {
    if (m_settingsWindow && m_settingsWindow->isVisible()) {
        keepSettingsAboveOnboarding();
        return bringToFront(*m_settingsWindow);
    }
    delete m_settingsWindow; // a closed window is not used again
    m_settingsWindow = makeWindow(tr("Quillet Settings"), m_services.makeSettingsView(section));
    m_settingsWindow->setMinimumSize(fittingScreen(kLeastSettingsSize));
    m_settingsWindow->resize(fittingScreen(kSettingsSize));
    keepSettingsAboveOnboarding();
    showCentred(*m_settingsWindow);
}

/// The introduction lies above ordinary windows, and has buttons that lead to the settings.
void AppDelegate::keepSettingsAboveOnboarding() {
    if (!m_settingsWindow) return;
    const bool isWanted = m_onboardingWindow && m_onboardingWindow->isVisible();
    if (QWindow* const shown = m_settingsWindow->windowHandle())
        shown->setFlag(Qt::WindowStaysOnTopHint, isWanted); // a widget that changes its flags vanishes
    else
        m_settingsWindow->setWindowFlag(Qt::WindowStaysOnTopHint, isWanted);
}

void AppDelegate::showOnboarding() {
    if (std::exchange(m_hasShownOnboarding, true)) return;
    m_onboardingWindow = makeWindow(tr("Welcome to Quillet"), m_services.makeOnboardingView());
    m_onboardingWindow->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_onboardingWindow, &QObject::destroyed, this, [this] { onboardingIsOver(); });
    m_onboardingWindow->setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                       Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint);
    m_onboardingWindow->setFixedSize(fittingScreen(kOnboardingSize));
    showCentred(*m_onboardingWindow);
}

void AppDelegate::onboardingIsOver() {
    m_onboardingComesFirst = false;
    keepSettingsAboveOnboarding();
    if (m_statusItem) presenceChanged(m_statusItem->presence().value());
}

Popover& AppDelegate::popover() {
    if (!m_popover) {
        MenuView* const view = m_services.makeMenuView();
        m_popover = std::make_unique<Popover>(view, [view] { return !view->isPresentingAlert(); });
        m_popover->setWindowBar(makeWindowBar());
        for (const MenuEntry& entry : makeContextMenu()) {
            if (entry.shortcut.isEmpty()) continue;
            auto* const shortcut = new QShortcut(entry.shortcut, m_popover.get());
            connect(shortcut, &QShortcut::activated, this, entry.action);
        }
    }
    return *m_popover;
}

QWidget* AppDelegate::makeWindowBar() {
    auto* const bar = new QWidget;
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(8, 6, 8, 0);
    row->addStretch();
    QPushButton* const button = makeIconButton(tr("Menu"), QStringLiteral("ellipsis.circle"), bar);
    connect(button, &QPushButton::clicked, this, [this, button] {
        auto* const menu = new QMenu(button);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        fillMenu(*menu, makeContextMenu());
        menu->popup(button->mapToGlobal(QPoint(0, button->height())));
    });
    row->addWidget(button);
    return bar;
}

void AppDelegate::statusItemViewTogglePopover(const ActivationHint& hint) {
    if (!m_statusItem) return;
    if (!hint.activationToken.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", hint.activationToken);
    popover().toggle({.item = hint.itemGeometry, .point = hint.point, .cursor = pointer()});
}

void AppDelegate::showPopover() {
    if (!m_statusItem || !m_statusItem->isShown()) return showWindowWithoutTray();
    if (popover().isShown()) return bringToFront(popover());
    popover().showBeside({});
}

void AppDelegate::presenceChanged(StatusItem::Presence presence) {
    if (presence == StatusItem::Presence::Shown) m_wasInTray = true;
    // A tray that was there comes back, with its panel or with the end of the screen lock. A window that opens
    // meanwhile would take the keyboard from somebody; who wants one starts the program again.
    if (presence != StatusItem::Presence::Absent || m_hasShownWindow || m_wasInTray) return;
    // The introduction comes first, and a panel that is still starting gets its time.
    if (m_patienceWithTheTray.isActive() || m_onboardingComesFirst) return;
    showWindowWithoutTray();
}

void AppDelegate::showWindowWithoutTray() {
    m_hasShownWindow = true;
    popover().showAsWindow();
}

} // namespace quillet
