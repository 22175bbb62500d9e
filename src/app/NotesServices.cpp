#include "app/NotesServices.h"

#include "notes/AppleNotesApplication.h"
#include "notes/joplin/JoplinNotesApplication.h"
#include "notes/vault/VaultNotesApplication.h"
#include "platform/StandardFolders.h"
#include "platform/SystemNotes.h"

#include <utility>

namespace quillet {
namespace {

std::filesystem::path dataFolder() { return applicationSupportDirectory().value_or("/nonexistent"); }

std::shared_ptr<NotesApplication> makeJoplin(const UserDefaults& defaults) {
    const auto givenToken = [&defaults] { return defaults.string(DefaultsKeys::joplinToken).value_or(QString()); };
    JoplinOptions options;
    options.lockFolder = dataFolder();
    options.ports = [&defaults]() -> std::vector<quint16> {
        const auto port =
            numberFrom(defaults.string(DefaultsKeys::joplinPort).value_or(QString()), DefaultsValues::kPorts);
        if (!port) return {};
        return {static_cast<quint16>(*port)};
    };
    return std::make_shared<JoplinNotesApplication>(
        std::make_shared<FileJoplinSecrets>(dataFolder() / "joplin-access.json", givenToken), std::move(options));
}

std::shared_ptr<NotesApplication> makeVault(const UserDefaults& defaults) {
    return std::make_shared<VaultNotesApplication>([&defaults] {
        const auto folder = defaults.data(DefaultsKeys::notesVaultFolder);
        return folder ? QString::fromUtf8(*folder) : QString();
    });
}

/// The one that comes with the system; null where there is none.
std::shared_ptr<NotesApplication> makeSystemNotes() {
    const auto system = systemNotes();
    if (!system) return nullptr;
    return std::make_shared<AppleNotesApplication>(NotesAppleScriptRunner(system->scripts), system->isInstalled);
}

/// Passes each call on to the application that the settings name at that moment.
class ChosenNotesApplication final : public NotesApplication {
public:
    explicit ChosenNotesApplication(const UserDefaults& defaults)
        : m_defaults(defaults),
          m_vault(makeVault(defaults)),
          m_joplin(makeJoplin(defaults)),
          m_unlessChosen(makeSystemNotes()) {}

    bool isAvailable() const override { return chosen().isAvailable(); }
    bool asksForConsent() const override { return chosen().asksForConsent(); }
    bool asksAtMostOnce() const override { return chosen().asksAtMostOnce(); }
    bool canNameFolder(const QString& name) const override { return chosen().canNameFolder(name); }
    NotesAccess probeAccess() override { return chosen().probeAccess(); }
    bool requestAccess() override { return chosen().requestAccess(); }
    void cancelRequest() override { // whoever is asking need not be chosen any more
        for (NotesApplication* application : {m_vault.get(), m_joplin.get(), m_unlessChosen.get()})
            if (application) application->cancelRequest();
    }
    std::vector<QString> fetchFolders() override { return chosen().fetchFolders(); }
    bool testFolderConnection(const QString& folderName) override { return chosen().testFolderConnection(folderName); }
    NoteOutcome createNoteWithAttachment(const NoteDraft& draft) override {
        return chosen().createNoteWithAttachment(draft);
    }

private:
    NotesApplication& chosen() const {
        const auto choice = m_defaults.string(DefaultsKeys::notesApplication);
        if (choice == DefaultsValues::joplin) return *m_joplin;
        return m_unlessChosen && choice != DefaultsValues::vault ? *m_unlessChosen : *m_vault;
    }

    const UserDefaults& m_defaults;
    const std::shared_ptr<NotesApplication> m_vault;
    const std::shared_ptr<NotesApplication> m_joplin;
    const std::shared_ptr<NotesApplication> m_unlessChosen; ///< may be null
};

} // namespace

std::shared_ptr<NotesApplication> makeNotesApplication(const UserDefaults& defaults) {
    return std::make_shared<ChosenNotesApplication>(defaults);
}

NotesServices::NotesServices(const UserDefaults& userDefaults, std::function<bool()> isAutomationGranted)
    : defaults(userDefaults),
      application(makeNotesApplication(defaults)),
      integrator(application, defaults, std::move(isAutomationGranted)),
      pending(dataFolder()),
      recordings(integrator, pending) {}

std::optional<CreateNoteResult> NotesServices::makeNote(const std::filesystem::path& recording, WallTime completedAt) {
    if (const auto outcome = recordings.makeNote(recording, completedAt)) return toCreateNoteResult(*outcome);
    const bool isChosen = defaults.string(DefaultsKeys::notesApplication).has_value() || !systemNotes();
    return isChosen ? std::optional(CreateNoteResult{}) : std::nullopt;
}

} // namespace quillet
