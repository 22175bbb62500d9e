#include "app/tray/TrayProgram.h"

#include "app/LaunchManager.h"
#include "app/tray/SharedInstances.h"
#include "app/ui/MenuView.h"
#include "platform/LoginItem.h"
#include "storage/RecordingRecovery.h"
#include "support/SharedInstance.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QSessionManager>
#include <QTextStream>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace quillet {
namespace {

using namespace std::chrono_literals;

/// After this the system is likely to end the process the hard way.
constexpr auto kLongestFinish = 4s;

RemoteCommand commandOf(const QStringList& arguments) {
    if (arguments.contains(QLatin1String("--toggle-recording"))) return RemoteCommand::ToggleRecording;
    if (arguments.contains(QLatin1String("--settings"))) return RemoteCommand::OpenSettings;
    if (arguments.contains(QLatin1String("--quit"))) return RemoteCommand::Quit;
    return RemoteCommand::Open;
}

} // namespace

TrayProgram::TrayProgram(QStringList arguments)
    : m_arguments(std::move(arguments)), m_command(commandOf(m_arguments)), m_instance(makeSingleInstance()) {}

TrayProgram::~TrayProgram() = default;

int TrayProgram::run() {
    if (m_command == RemoteCommand::Quit) {
        // Nothing is started only to be ended.
        m_instance->send(m_command, [](bool) { QCoreApplication::exit(EXIT_SUCCESS); });
    } else {
        m_instance->claim(
            m_command, [this](RemoteCommand command) { obey(command); },
            [this](SingleInstance::Claim claim) { claimed(claim); });
    }
    return QCoreApplication::exec();
}

void TrayProgram::claimed(SingleInstance::Claim claim) {
    switch (claim) {
    case SingleInstance::Claim::First:
        return launch();
    case SingleInstance::Claim::Delivered:
        if (UserDefaults& defaults = UserDefaults::standard();
            AppDelegate::rememberAboutOnboarding(m_arguments, defaults)) {
            const bool skips = defaults.boolean(DefaultsKeys::hasCompletedOnboarding);
            QTextStream(stderr) << "quillet: Quillet is running already; its next start will be "
                                << (skips ? "without" : "with") << " the introduction.\n";
        }
        return QCoreApplication::exit(EXIT_SUCCESS);
    case SingleInstance::Claim::Unreached:
        QTextStream(stderr) << "quillet: Quillet is running already but does not answer. End it and try again.\n";
        return QCoreApplication::exit(EXIT_FAILURE);
    }
}

void TrayProgram::launch() {
    QApplication::setQuitOnLastWindowClosed(false);
    Theme::shared().install();
    followAppearance();
    installSharedInstances();
    m_control = std::make_unique<RecordingControl>(SharedInstance<AudioCaptureEngine>::get());
    m_delegate = makeDelegate();
    m_notices = std::make_unique<RecordingNotices>(RecordingNotices::Services{
        .engine = SharedInstance<AudioCaptureEngine>::get(),
        .uiModel = *SharedInstance<RecorderUIModel>::get(),
        .notifications = NotificationCenter::standard(),
        .notices = makeUserNotices(),
        .sleep = makeSleepInhibitor(),
        .showRecording =
            [](const std::filesystem::path& recording) {
                SharedInstance<RecordingFileManager>::get()->showInFinderSelecting(recording);
            },
        .open = [this] { m_delegate->showPopover(); }});
    followSession();
    m_delegate->applicationDidFinishLaunching(m_arguments);
    makeLoginItem()->followProgram();
    if (m_command != RemoteCommand::Open) obey(m_command);
    recoverUnfinished();
}

std::unique_ptr<AppDelegate> TrayProgram::makeDelegate() {
    return std::make_unique<AppDelegate>(
        AppDelegate::Services{.engine = SharedInstance<AudioCaptureEngine>::get(),
                              .control = *m_control,
                              .defaults = UserDefaults::standard(),
                              .notifications = NotificationCenter::standard(),
                              .updaterManager = std::make_unique<UpdaterManager>(sharedExternalPrograms()),
                              .makeStatusItem = makeStatusItem,
                              .makeMenuView =
                                  [this] {
                                      return new MenuView(std::make_unique<MenuModel>(
                                          MenuModel::Services{.permissions = SharedInstance<PermissionManager>::get(),
                                                              .engine = SharedInstance<AudioCaptureEngine>::get(),
                                                              .control = *m_control,
                                                              .uiModel = *SharedInstance<RecorderUIModel>::get(),
                                                              .files = *SharedInstance<RecordingFileManager>::get(),
                                                              .defaults = UserDefaults::standard()}));
                                  },
                              .makeSettingsView =
                                  [this](const QString& section) {
                                      return makeSharedSettingsView(section, [this] { m_delegate->menuQuit(); });
                                  },
                              .makeOnboardingView = makeSharedOnboardingView,
                              .terminate = exitNow});
}

void TrayProgram::obey(RemoteCommand command) {
    if (!m_delegate) return;
    switch (command) {
    case RemoteCommand::Open:
        return m_delegate->showPopover();
    case RemoteCommand::ToggleRecording:
        return m_delegate->menuStartStopRecording();
    case RemoteCommand::OpenSettings:
        return m_delegate->menuOpenSettings();
    case RemoteCommand::Quit:
        return m_delegate->menuQuit();
    }
}

void TrayProgram::followAppearance() {
    m_appearance = makeAppearance();
    m_appearance->scheme().subscribe(this, [](const std::optional<Appearance::Scheme>& scheme) {
        std::optional<ColorScheme> wanted;
        if (scheme) wanted = *scheme == Appearance::Scheme::Dark ? ColorScheme::Dark : ColorScheme::Light;
        Theme::shared().setColorScheme(wanted);
    });
    m_appearance->textScale().subscribe(
        this, [](const std::optional<double>& scale) { Theme::shared().setTextScale(scale.value_or(1)); });
    m_appearance->animations().subscribe(
        this, [](const std::optional<bool>& animations) { Theme::shared().setAnimations(animations.value_or(true)); });
}

void TrayProgram::recoverUnfinished() {
    // What a crash or a quick end left behind is made whole before the user looks for it.
    std::thread([folders = SharedInstance<RecordingFileManager>::get()->recordingFolders()] {
        for (const auto& folder : folders) static_cast<void>(recoverRecordings(folder));
    }).detach();
}

void TrayProgram::followSession() {
    m_termination = std::make_unique<TerminationRequests>([this] { finishAndExit(); });
    std::atexit(&finishWithinExit); // which the toolkit calls when the display goes away
    // Whether it starts at login is the user's choice, not the session's.
    const auto startNoneAnew = [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); };
    connect(qApp, &QGuiApplication::commitDataRequest, this, startNoneAnew, Qt::DirectConnection);
    connect(qApp, &QGuiApplication::saveStateRequest, this, startNoneAnew, Qt::DirectConnection);
}

void TrayProgram::finishAndExit() {
    m_control->stop();
    std::thread([engine = SharedInstance<AudioCaptureEngine>::get()] {
        engine->waitUntilFinished();
        exitNow();
    }).detach();
    QTimer::singleShot(kLongestFinish, this, [] { exitNow(); });
}

void TrayProgram::finishWithinExit() {
    const auto engine = SharedInstance<AudioCaptureEngine>::get();
    engine->stopRecording();
    const auto finished = std::make_shared<std::promise<void>>();
    std::thread([engine, finished] {
        engine->waitUntilFinished();
        finished->set_value();
    }).detach();
    finished->get_future().wait_for(kLongestFinish);
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE);
}

void TrayProgram::exitNow() {
    // Settings are on the disk with each change. Nothing that is taken down here could still save anything: a recording
    // under way is finished by the next start, from what is in its file.
    std::fflush(nullptr);
    std::_Exit(EXIT_SUCCESS);
}

} // namespace quillet
