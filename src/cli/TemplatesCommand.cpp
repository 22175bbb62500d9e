#include "cli/Commands.h"
#include "cli/Options.h"
#include "platform/StandardFolders.h"
#include "support/UserDefaults.h"
#include "templates/TemplateFiles.h"
#include "templates/TemplateManager.h"
#include "templates/TemplateNames.h"
#include "templates/TemplateRecords.h"

#include <QDir>
#include <QLockFile>
#include <QSet>

#include <functional>

namespace quillet::cli {
namespace {

constexpr auto kUsage = "Usage: quillet templates list\n"
                        "       quillet templates show NAME|ID\n"
                        "       quillet templates preview NAME|ID\n"
                        "       quillet templates export NAME|ID FILE\n"
                        "       quillet templates import FILE\n"
                        "       quillet templates add NAME FILE\n"
                        "       quillet templates delete NAME|ID\n"
                        "A Quillet that is running sees the changes when it is started again.";

constexpr int kLongestWaitMs = 30'000;

QString forOneLine(const QString& name) {
    constexpr int kCharacters = 60;
    return templateNameForOneLine(name, kCharacters);
}

int say(const QString& sentence) {
    complain(sentence);
    return Failed;
}

/// The one template of this name or id; the error is a sentence for the user.
Result<MeetingTemplate, QString> find(const TemplateManager& manager, const QString& nameOrId) {
    const auto id = TemplateRecords::parseUuid(nameOrId);
    std::vector<MeetingTemplate> found;
    QSet<QUuid> ids;
    for (const MeetingTemplate& each : manager.allTemplates()) {
        if (each.name != nameOrId && each.id != id) continue;
        if (!ids.contains(each.id)) found.push_back(each);
        ids.insert(each.id);
    }
    if (found.empty())
        return Failure{
            QStringLiteral("There is no template “%1”. See quillet templates list.").arg(forOneLine(nameOrId))};
    if (found.size() == 1) return found.front();
    QStringList own;
    for (const MeetingTemplate& each : found) {
        if (!each.isBuiltIn) own.append(TemplateRecords::uuidText(each.id));
    }
    return Failure{QStringLiteral("%1 templates are called “%2”. Give the id instead; yours: %3.")
                       .arg(QString::number(found.size()), forOneLine(nameOrId), own.join(QLatin1String(", ")))};
}

/// What was changed is in the store, or is said not to be: the store itself reports nothing.
int verifySaved(const TemplateManager& manager) {
    const TemplateManager stored(UserDefaults::standard());
    if (stored.customTemplates.value() == manager.customTemplates.value()) return Done;
    return say(QStringLiteral("The settings could not be written."));
}

/// Stored templates that cannot be read count as none, and the next change would replace them: not from here.
Result<void, QString> checkStored() {
    const UserDefaults& defaults = UserDefaults::standard();
    if (!defaults.keys().contains(DefaultsKeys::customTemplates)) return {};
    const auto decoded =
        TemplateRecords::decodeList(defaults.data(DefaultsKeys::customTemplates).value_or(QByteArray()));
    if (decoded) return {};
    return Failure{QStringLiteral("Your stored templates cannot be read, and a change would lose them: %1 See quillet "
                                  "settings get corvane.customTemplates, or start over with unset.")
                       .arg(decoded.error())};
}

/// Beside the settings, which a first change brings into being.
QString lockPath() {
    const QString folder = QFile::decodeName(standardSettingsFile().parent_path().c_str());
    QDir().mkpath(folder);
    return QDir(folder).filePath(QStringLiteral("templates.lock"));
}

int list(TemplateManager& manager) {
    for (const MeetingTemplate& each : manager.allTemplates()) {
        QStringList notes;
        if (each.isDefault) notes.append(QStringLiteral("default"));
        notes.append(each.isBuiltIn ? QStringLiteral("built-in") : TemplateRecords::uuidText(each.id));
        const QString mark =
            each.id == manager.selectedTemplateId.value() ? QStringLiteral("* ") : QStringLiteral("  ");
        print(mark + forOneLine(each.name).leftJustified(24) + QStringLiteral("  ") + notes.join(QLatin1String(", ")));
    }
    const auto readable = checkStored();
    return readable ? Done : say(readable.error());
}

int remove(TemplateManager& manager, const MeetingTemplate& meetingTemplate) {
    if (meetingTemplate.isBuiltIn)
        return say(QStringLiteral("“%1” is built in and cannot be deleted.").arg(forOneLine(meetingTemplate.name)));
    manager.deleteTemplate(meetingTemplate.id);
    return verifySaved(manager);
}

int exportTo(const MeetingTemplate& meetingTemplate, const QString& path) {
    if (meetingTemplate.isBuiltIn)
        return say(QStringLiteral("“%1” is built in and is not exported; quillet templates show prints its text.")
                       .arg(forOneLine(meetingTemplate.name)));
    const auto written = TemplateFiles::write(path, TemplateRecords::encode(meetingTemplate));
    return written ? Done : say(written.error());
}

int importFrom(TemplateManager& manager, const QString& path) {
    const auto bytes = TemplateFiles::read(path);
    if (!bytes) return say(bytes.error());
    const auto templates = TemplateFiles::imported(*bytes, manager.allTemplates());
    if (!templates) return say(QStringLiteral("%1 holds no templates. %2").arg(path, templates.error()));
    manager.addTemplates(*templates);
    return verifySaved(manager);
}

int add(TemplateManager& manager, const QString& name, const QString& path) {
    if (name.isEmpty()) return say(QStringLiteral("A template needs a name."));
    const auto bytes = TemplateFiles::read(path);
    if (!bytes) return say(bytes.error());
    if (!bytes->isValidUtf8()) return say(QStringLiteral("%1 is no UTF-8 text.").arg(path));
    manager.addTemplates({{.id = QUuid::createUuid(), .name = name, .content = QString::fromUtf8(*bytes)}});
    return verifySaved(manager);
}

/// Does something with the one template that the first operand names.
int withTemplate(TemplateManager& manager, const QStringList& operands,
                 const std::function<int(const MeetingTemplate&)>& work) {
    const auto found = find(manager, operands.at(0));
    return found ? work(*found) : say(found.error());
}

struct Verb {
    const char* name;
    int operands;
    bool changes;
    int (*run)(TemplateManager& manager, const QStringList& operands);
};

const Verb kVerbs[] = {
    {"list", 0, false, [](TemplateManager& manager, const QStringList&) { return list(manager); }},
    {"show", 1, false,
     [](TemplateManager& manager, const QStringList& operands) {
         return withTemplate(manager, operands, [](const MeetingTemplate& one) {
             print(one.content);
             return Done;
         });
     }},
    {"preview", 1, false,
     [](TemplateManager& manager, const QStringList& operands) {
         return withTemplate(manager, operands, [&](const MeetingTemplate& one) {
             print(manager.previewTemplate(one));
             return Done;
         });
     }},
    {"export", 2, false,
     [](TemplateManager& manager, const QStringList& operands) {
         return withTemplate(manager, operands,
                             [&](const MeetingTemplate& one) { return exportTo(one, operands.at(1)); });
     }},
    {"import", 1, true,
     [](TemplateManager& manager, const QStringList& operands) { return importFrom(manager, operands.at(0)); }},
    {"add", 2, true,
     [](TemplateManager& manager, const QStringList& operands) {
         return add(manager, operands.at(0), operands.at(1));
     }},
    {"delete", 1, true,
     [](TemplateManager& manager, const QStringList& operands) {
         return withTemplate(manager, operands, [&](const MeetingTemplate& one) { return remove(manager, one); });
     }},
};

} // namespace

int templates(const QStringList& arguments) {
    const QString name = arguments.value(1);
    if (asksForHelp(arguments)) {
        print(QString::fromLatin1(kUsage));
        return Done;
    }
    const QStringList operands = arguments.mid(2);
    for (const Verb& verb : kVerbs) {
        if (name != QLatin1String(verb.name) || operands.size() != verb.operands) continue;
        // All templates are one value: what another process adds between its reading and its writing would be lost.
        std::optional<QLockFile> lock;
        if (verb.changes && !lock.emplace(lockPath()).tryLock(kLongestWaitMs) &&
            lock->error() == QLockFile::LockFailedError)
            return say(QStringLiteral("Another quillet templates is changing them and does not end."));
        const auto readable = checkStored();
        if (verb.changes && !readable) return say(readable.error());
        TemplateManager manager(UserDefaults::standard());
        return verb.run(manager, operands);
    }
    complain(QString::fromLatin1(kUsage));
    return WrongUsage;
}

} // namespace quillet::cli
