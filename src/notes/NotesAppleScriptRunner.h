#pragma once

#include "notes/CreateNoteResult.h"
#include "platform/ScriptHost.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {

/// The only place that talks to Apple Notes: fills fixed AppleScript texts with escaped values, has them executed and
/// reads the answers. Any thread may call; every script runs on the main thread, in place when the caller is there, and
/// otherwise the caller waits for it, so nothing may call from work that the main thread is waiting for. No operation
/// reports an error: failures collapse to an empty list, to false or to a result without success. It keeps no state.
class NotesAppleScriptRunner {
public:
    explicit NotesAppleScriptRunner(std::shared_ptr<ScriptHost> host) : m_host(std::move(host)) {}

    /// The names of the default account's folders; empty on any failure. A script that answers with a list of no items
    /// stops the process.
    [[nodiscard]] std::vector<QString> fetchFolders() const;
    /// A folder of exactly that name exists in the default account. White space around the name does not count.
    [[nodiscard]] bool testFolderConnection(const QString& folderName) const;
    /// Notes answered a harmless question. The first time, the system asks the user for consent.
    [[nodiscard]] bool checkNotesAutomationAccess() const;
    /// The folder is made when it is missing; without a name the note goes to the default account's own place.
    [[nodiscard]] CreateNoteResult createNoteWithAttachment(const QString& filePath, const QString& title,
                                                            const QString& body,
                                                            const std::optional<QString>& folderName) const;

private:
    [[nodiscard]] CreateNoteResult executeCreateNoteScript(const QString& source) const;
    [[nodiscard]] std::vector<QString> runAppleScriptReturningStringList(const QString& source) const;
    [[nodiscard]] bool runAppleScriptReturningBool(const QString& source) const;
    static bool isAutomationDeniedError(const ScriptErrorInfo& error);

    const std::shared_ptr<ScriptHost> m_host;
};

} // namespace quillet
