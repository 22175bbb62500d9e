#pragma once

#include <QObject>

#include <functional>

namespace quillet {

/// Files and folders that this process makes from now on are their owner's only. Before any thread is started.
void keepNewFilesPrivate();

/// Whether standard error is shown on a terminal that can rewrite a line.
[[nodiscard]] bool standardErrorIsTerminal();

/// Becomes another program of this installation, with the same arguments: one that lies beside this one or in its
/// private folder. Returns only when there is none. Before any thread is started.
void becomeCompanion(const char* program, char** arguments);

/// Calls the handler on the main thread each time the user or the system asks the process to end (Ctrl-C, termination).
/// One for the life of the process, made on the main thread after the application object.
class TerminationRequests : public QObject {
public:
    explicit TerminationRequests(std::function<void()> handler);
    ~TerminationRequests() override;
};

} // namespace quillet
