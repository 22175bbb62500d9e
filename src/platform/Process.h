#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace quillet {

/// Readies the process, first thing in main(). From then on the files and folders that it makes are their owner's only;
/// what is printed to a standard stream that the caller has closed goes nowhere, instead of into whichever file would
/// get its number; and a limit on the size of files is an error of the write that meets it, not the end of the process.
void prepareProcess();

/// Starts a program that outlives this one; false when there is none of that name or path. What it makes is readable to
/// whom the user's own programs let read it, not to its owner only.
bool startProgram(const QString& program, const QStringList& arguments);

/// Ends the process, last thing in main(), without the finalisers of the libraries behind it. With 150 of them these
/// touch more memory, at their end, than a recording needs at its height.
[[noreturn]] void leaveProcess(int status);

/// Whether standard error is shown on a terminal that can rewrite a line.
[[nodiscard]] bool standardErrorIsTerminal();

/// Writes to standard error unless it stays full for longer than the patience: its reader may have been suspended, or a
/// terminal stopped. False when not all of it was taken, which is for nobody to repair. A write that has begun to a
/// hanging disk is waited for. Any thread.
bool writeToStandardError(const QByteArray& bytes, std::chrono::milliseconds patience);

/// Becomes another program of this installation, with the same arguments: one that lies beside this one or in its
/// private folder. Returns only when there is none. Before any thread is started. In a bundle of macOS, where no
/// program may become another, the bundle's application is opened instead and the command passed on.
void becomeCompanion(const char* program, char** arguments);

/// Calls the handler on the main thread each time the user or the system asks the process to end (Ctrl-C, termination,
/// the terminal going away unless the process was told to outlive it, the session's manager, which would else leave the
/// event loop). While it lives, nobody reading what is printed any more is no reason to end. One for the life of the
/// process, made on the main thread after the application object.
class TerminationRequests : public QObject {
public:
    explicit TerminationRequests(std::function<void()> handler);
    ~TerminationRequests() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    const std::function<void()> m_handler;
};

} // namespace quillet
