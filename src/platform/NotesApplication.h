#pragma once

#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

namespace quillet {

/// One note to be made out of a recording.
struct NoteDraft {
    std::filesystem::path attachment; ///< the recording's file
    QString title;                    ///< the note's name: one line, any text
    QString body; ///< "# ", "## ", "**" and "• " as marks, line feeds between lines; kept verbatim
    std::optional<QString> folderName; ///< absent or empty: the application's own default place
    QString identity{};                ///< what was asked for: the same at a repeat, whose texts may read differently
};

/// What became of it. success and isAutomationDenied are never both true. A reason is a sentence for the user, without
/// secrets.
struct NoteOutcome {
    bool success = false;
    bool isAutomationDenied = false; ///< the user, or the application for the user, refuses us
    QString reason;                  ///< without success

    static NoteOutcome made() { return {true, false, {}}; }
    static NoteOutcome failed(const QString& reason) { return {false, false, reason}; }
    static NoteOutcome refused(const QString& reason) { return {false, true, reason}; }
};

/// Whether the notes application lets us in.
enum class NotesAccess { NotDetermined, Granted, Denied };

/// The user's notes application. All calls but the first four and cancelRequest() may block, for seconds or, with
/// requestAccess(), for as long as the user takes to answer; they are made on worker threads, never on the main thread,
/// and by several at once. Nothing is ever overwritten or doubled, and no failure is thrown.
class NotesApplication {
public:
    virtual ~NotesApplication() = default;

    /// Whether the application is there at all, from what is known now. Any thread, at once.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// Whether the user has to consent in the application. If not, access is determined from the start. Any thread, at
    /// once.
    [[nodiscard]] virtual bool asksForConsent() const = 0;
    /// Whether requestAccess() may be called without the user having wished for it: nobody is asked, or the user is
    /// asked only once and the answer kept. Any thread, at once.
    [[nodiscard]] virtual bool asksAtMostOnce() const { return !asksForConsent(); }
    /// Whether a folder can have this name, which is not empty and has no white space around it. Any thread, at once.
    [[nodiscard]] virtual bool canNameFolder(const QString& /*name*/) const { return true; }

    /// Finds out quietly: never makes the application ask the user anything.
    [[nodiscard]] virtual NotesAccess probeAccess() = 0;
    /// The same, but asks the user where the application can, and waits for the answer.
    [[nodiscard]] virtual bool requestAccess() = 0;
    /// Ends the waiting of requestAccess(), if any, which then answers no; the user has not refused. Any thread, at
    /// once.
    virtual void cancelRequest() {}
    /// The top-level folders by name, in the application's order; empty when there are none or on any failure.
    [[nodiscard]] virtual std::vector<QString> fetchFolders() = 0;
    /// A folder of exactly that name exists. White space around the name does not count; an empty name does not exist.
    [[nodiscard]] virtual bool testFolderConnection(const QString& folderName) = 0;
    /// Makes the note with its attachment, in a folder that is made when it is missing.
    [[nodiscard]] virtual NoteOutcome createNoteWithAttachment(const NoteDraft& draft) = 0;
};

} // namespace quillet
