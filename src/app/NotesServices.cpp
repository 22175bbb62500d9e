#include "app/NotesServices.h"

#include "notes/vault/VaultNotesApplication.h"
#include "platform/StandardFolders.h"

namespace quillet {

std::shared_ptr<NotesApplication> makeNotesApplication(const UserDefaults& defaults) {
    return std::make_shared<VaultNotesApplication>([&defaults] {
        const auto folder = defaults.data(DefaultsKeys::notesVaultFolder);
        return folder ? QString::fromUtf8(*folder) : QString();
    });
}

NotesServices::NotesServices(const UserDefaults& defaults, std::function<bool()> isAutomationGranted)
    : application(makeNotesApplication(defaults)),
      integrator(application, defaults, std::move(isAutomationGranted)),
      pending(applicationSupportDirectory().value_or("/nonexistent")),
      recordings(integrator, pending) {}

} // namespace quillet
