#pragma once

#include "notes/joplin/JoplinClient.h"
#include "notes/joplin/JoplinSecrets.h"
#include "platform/NotesApplication.h"

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>

namespace quillet {

struct JoplinOptions {
    /// Where to look for the service, asked for at each call; empty for the ten ports that Joplin chooses from.
    std::function<std::vector<quint16>()> ports;
    joplin::Limits limits;
    /// The same for all processes of the user; where attempts at one note wait for each other.
    std::filesystem::path lockFolder;
    std::chrono::milliseconds consentPoll{1'000};
    std::chrono::milliseconds consentLimit{300'000};
};

/// Notes in Joplin, through the Data API that its Web Clipper service offers on this machine.
///
/// Only a service that answers as Joplin's is spoken to, and the token goes nowhere else. Joplin's user consents in a
/// dialog there; a refusal is remembered until requestAccess() is called again. Every call that may block does so on
/// its caller's thread, with a network manager of that call; several callers do not disturb each other. What fails says
/// why in words that hold no secret, and nothing of a note that failed is left, or the next attempt completes it.
class JoplinNotesApplication final : public NotesApplication {
public:
    explicit JoplinNotesApplication(std::shared_ptr<JoplinSecrets> secrets, JoplinOptions options = {});

    [[nodiscard]] bool isAvailable() const override;
    [[nodiscard]] bool asksForConsent() const override { return true; }
    [[nodiscard]] bool canNameFolder(const QString& name) const override;
    [[nodiscard]] NotesAccess probeAccess() override;
    /// A call during another one's waiting takes that one's answer.
    [[nodiscard]] bool requestAccess() override;
    void cancelRequest() override;
    [[nodiscard]] std::vector<QString> fetchFolders() override;
    [[nodiscard]] bool testFolderConnection(const QString& folderName) override;
    [[nodiscard]] NoteOutcome createNoteWithAttachment(const NoteDraft& draft) override;

private:
    using Client = std::unique_ptr<joplin::Client>;
    [[nodiscard]] std::optional<quint16> findPort();
    /// With a token that Joplin takes at this moment.
    [[nodiscard]] Result<Client, joplin::Fault> connect();
    [[nodiscard]] bool askForConsent();
    [[nodiscard]] bool isCancelled();
    [[nodiscard]] bool waitOrCancelled();
    [[nodiscard]] Result<QString, joplin::Fault> findOrMakeFolder(joplin::Client& client, const QString& title);

    const std::shared_ptr<JoplinSecrets> m_secrets;
    const JoplinOptions m_options;
    std::atomic<bool> m_wasFound = false;
    std::mutex m_folderMutex; ///< held from looking for a folder to making it

    std::mutex m_consentMutex; ///< guards what follows
    std::condition_variable m_consentChanged;
    bool m_isAsking = false;
    bool m_isCancelled = false;
    bool m_lastAnswer = false;
};

} // namespace quillet
