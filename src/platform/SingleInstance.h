#pragma once

#include <functional>
#include <memory>

namespace quillet {

/// What another start of the program, or a shortcut of the desktop, asks of the running one.
enum class RemoteCommand {
    Open,            ///< show yourself
    ToggleRecording, ///< start or stop
    OpenSettings,
    Quit,
};

/// One running program per user's session, and the road of commands to it. The composition root owns it for the life of
/// the process; main thread only, and answers come from the event loop. Only the same user reaches it. Where the
/// desktop offers nothing to build on, every start believes itself the first.
class SingleInstance {
public:
    enum class Claim {
        First,     ///< this process is the one from now on
        Delivered, ///< another one runs and has taken the command
        Unreached, ///< another one holds the place but does not answer
    };

    virtual ~SingleInstance() = default;

    /// Takes the place, or hands the command to the process that has it. The first one carries the command out itself;
    /// commands that arrive later come through onCommand. Once per process.
    virtual void claim(RemoteCommand command, std::function<void(RemoteCommand)> onCommand,
                       std::function<void(Claim)> done) = 0;

    /// Tells the running process without taking its place; false when none runs, or none answers.
    virtual void send(RemoteCommand command, std::function<void(bool delivered)> done) = 0;
};

[[nodiscard]] std::unique_ptr<SingleInstance> makeSingleInstance();

} // namespace quillet
