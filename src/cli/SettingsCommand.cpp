#include "app/NotesServices.h"
#include "cli/Commands.h"
#include "cli/Options.h"
#include "settings/SettingsCatalogue.h"
#include "templates/TemplateNames.h"

namespace quillet::cli {
namespace {

constexpr auto kUsage = "Usage: quillet settings list\n"
                        "       quillet settings get KEY\n"
                        "       quillet settings set KEY VALUE\n"
                        "       quillet settings unset KEY";

int list(const UserDefaults& defaults) {
    constexpr int kCharacters = 200; // stored templates may take megabytes, and any number of lines
    for (const SettingInfo& setting : settingsCatalogue())
        print(QStringLiteral("%1 = %2   (%3)")
                  .arg(setting.key,
                       templateNameForOneLine(settingText(setting, defaults, FileServices::standard()), kCharacters),
                       setting.summary));
    return Done;
}

int outcome(bool isStored) {
    if (!isStored) complain(QStringLiteral("The settings could not be written."));
    return isStored ? Done : Failed;
}

int set(UserDefaults& defaults, const SettingInfo& setting, const QString& text) {
    const auto value = parseSetting(setting, text, FileServices::standard());
    if (!value) {
        complain(value.error());
        return WrongUsage;
    }
    const QString folder = setting.key == DefaultsKeys::notesFolderName ? text.trimmed() : QString();
    if (!folder.isEmpty() && !makeNotesApplication(defaults)->canNameFolder(folder)) {
        complain(QStringLiteral("A folder of the notes cannot be called “%1”.").arg(folder));
        return WrongUsage;
    }
    return outcome(defaults.set(setting.key, *value));
}

} // namespace

int settings(const QStringList& arguments) {
    const QString verb = arguments.value(1);
    const auto size = arguments.size();
    if (asksForHelp(arguments)) {
        print(QString::fromLatin1(kUsage));
        return Done;
    }
    UserDefaults& defaults = UserDefaults::standard();
    if (verb == QLatin1String("list") && size == 2) return list(defaults);

    const bool isGet = verb == QLatin1String("get") && size == 3;
    const bool isSet = verb == QLatin1String("set") && size == 4;
    const bool isUnset = verb == QLatin1String("unset") && size == 3;
    if (!isGet && !isSet && !isUnset) {
        complain(QString::fromLatin1(kUsage));
        return WrongUsage;
    }
    const SettingInfo* setting = findSetting(arguments.at(2));
    if (!setting) {
        complain(QStringLiteral("There is no setting “%1”. See quillet settings list.").arg(arguments.at(2)));
        return WrongUsage;
    }
    if (isSet) return set(defaults, *setting, arguments.at(3));
    if (isUnset) return outcome(defaults.remove(setting->key));
    print(settingText(*setting, defaults, FileServices::standard()));
    return Done;
}

} // namespace quillet::cli
