#include "app/NotesServices.h"

#include "notes/joplin/JoplinNotesApplication.h"
#include "notes/vault/VaultNotesApplication.h"
#include "platform/StandardFolders.h"

namespace quillet {
namespace {

std::filesystem::path dataFolder() { return applicationSupportDirectory().value_or("/nonexistent"); }

std::shared_ptr<NotesApplication> makeJoplin(const UserDefaults& defaults) {
    const auto givenToken = [&defaults] { return defaults.string(DefaultsKeys::joplinToken).value_or(QString()); };
    JoplinOptions options;
    options.ports = [&defaults]() -> std::vector<quint16> {
        const int port = defaults.string(DefaultsKeys::joplinPort).value_or(QString()).toInt();
        if (port < 1 || port > 65535) return {};
        return {static_cast<quint16>(port)};
    };
    return std::make_shared<JoplinNotesApplication>(
        std::make_shared<FileJoplinSecrets>(dataFolder() / "joplin-access.json", givenToken), std::move(options));
}

} // namespace

std::shared_ptr<NotesApplication> makeNotesApplication(const UserDefaults& defaults) {
    if (defaults.string(DefaultsKeys::notesApplication) == QStringLiteral("joplin")) return makeJoplin(defaults);
    return std::make_shared<VaultNotesApplication>([&defaults] {
        const auto folder = defaults.data(DefaultsKeys::notesVaultFolder);
        return folder ? QString::fromUtf8(*folder) : QString();
    });
}

NotesServices::NotesServices(const UserDefaults& defaults, std::function<bool()> isAutomationGranted)
    : application(makeNotesApplication(defaults)),
      integrator(application, defaults, std::move(isAutomationGranted)),
      pending(dataFolder()),
      recordings(integrator, pending) {}

} // namespace quillet
