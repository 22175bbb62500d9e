#pragma once

#include "app/NotesServices.h"
#include "app/RecordingHost.h"
#include "app/RecordingNotices.h"
#include "app/ui/AppDelegate.h"
#include "platform/Appearance.h"
#include "platform/Process.h"
#include "platform/SingleInstance.h"

#include <QStringList>

#include <memory>

namespace quillet {

/// The tray application, put together: hands out the factories of the shared instances, finds out whether another one
/// runs already, and starts the shell. Owned by main(); main thread.
class TrayProgram final : public QObject {
    Q_OBJECT
public:
    explicit TrayProgram(QStringList arguments);
    ~TrayProgram() override;

    /// Runs until the program is quit; the exit status.
    int run();

private:
    void claimed(SingleInstance::Claim claim);
    void launch();
    void obey(RemoteCommand command);
    void followAppearance();
    void recoverUnfinished();
    [[nodiscard]] std::unique_ptr<AppDelegate> makeDelegate();
    void followSession();
    /// Ends a recording before the process ends, as far as the system gives it time.
    void finishAndExit();
    /// The same from within exit(), where nothing else can run on the main thread any more.
    static void finishWithinExit();
    static void exitNow();

    const QStringList m_arguments;
    const RemoteCommand m_command;
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<Appearance> m_appearance;
    std::unique_ptr<RecordingControl> m_control;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<RecordingNotices> m_notices;
    std::unique_ptr<TerminationRequests> m_termination;
};

} // namespace quillet
