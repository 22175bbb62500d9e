#pragma once

#include "notes/NotesAppleScriptRunner.h"
#include "platform/NotesApplication.h"

#include <functional>

namespace quillet {

/// Apple Notes as one of the notes applications. Its calls may also be made on the main thread: the scripts run there
/// anyway. The probe is quiet only once the system has asked the user, which is why nothing probes before that.
class AppleNotesApplication final : public NotesApplication {
public:
    /// isInstalled: whether the system knows an application "com.apple.Notes". Any thread, at once.
    AppleNotesApplication(NotesAppleScriptRunner runner, std::function<bool()> isInstalled)
        : m_runner(std::move(runner)), m_isInstalled(std::move(isInstalled)) {}

    [[nodiscard]] bool isAvailable() const override { return m_isInstalled(); }
    [[nodiscard]] bool asksForConsent() const override { return true; }
    [[nodiscard]] bool asksAtMostOnce() const override { return true; } // the system keeps the user's answer
    [[nodiscard]] NotesAccess probeAccess() override;
    [[nodiscard]] bool requestAccess() override { return m_runner.checkNotesAutomationAccess(); }
    [[nodiscard]] std::vector<QString> fetchFolders() override { return m_runner.fetchFolders(); }
    [[nodiscard]] bool testFolderConnection(const QString& folderName) override {
        return m_runner.testFolderConnection(folderName);
    }
    [[nodiscard]] NoteOutcome createNoteWithAttachment(const NoteDraft& draft) override;

private:
    const NotesAppleScriptRunner m_runner;
    const std::function<bool()> m_isInstalled;
};

} // namespace quillet
