#include "settings/SettingsCatalogue.h"

#include "platform/SystemNotes.h"
#include "support/ServiceAddress.h"
#include "templates/TemplateRecords.h"

#include <QDir>

#include <algorithm>
#include <optional>
#include <vector>

namespace quillet {
namespace {

using Type = SettingInfo::Type;

const std::vector<SettingInfo>& catalogue() {
    static const std::vector<SettingInfo> settings = [] {
        using namespace DefaultsKeys;
        using namespace DefaultsValues;
        const auto entry = [](const QString& key, Type type, const QByteArray& absent, const char* summary,
                              QStringList choices = {}) {
            return SettingInfo{key, type, QString::fromUtf8(absent), QString::fromUtf8(summary), std::move(choices)};
        };
        return std::vector<SettingInfo>{
            entry(autoCreateNote, Type::Bool, "false", "make a note of every recording"),
            entry(recordingsFolderBookmark, Type::Bookmark, "", "where recordings go; absent: the default folder"),
            entry(systemAudioDevice, Type::Text, "",
                  "the output that the tray application records, by its name; absent: the default"),
            entry(microphoneDevice, Type::Text, "",
                  "the microphone that the tray application records, by its name; absent: the default"),
            entry(notesApplication, Type::Choice, systemNotes() ? "Apple Notes" : vault.toUtf8(),
                  "the notes application", {vault, joplin}),
            entry(notesVaultFolder, Type::Folder, "",
                  "the Markdown vault; absent: “Quillet Notes” in the documents folder"),
            entry(notesFolderName, Type::Text, "", "folder for new notes; empty: the application's default"),
            entry(joplinPort, Type::Port, "", "port of Joplin's Web Clipper service; absent: it is looked for"),
            entry(joplinToken, Type::Secret, "", "Joplin's authorisation token, for a Joplin without a screen"),
            entry(includeConsentTimestamp, Type::Bool, "false", "end notes with the participants' consent"),
            entry(customTemplates, Type::Templates, "", "note templates of your own"),
            entry(selectedTemplateId, Type::Uuid, "", "the template in use"),
            entry(useLocalSummarisation, Type::Bool, "true", "summarise on this device"),
            entry(cloudFallbackEnabled, Type::Bool, "true", "summarise in the cloud where the device cannot"),
            entry(localModelAddress, Type::LocalAddress, "",
                  "server of a language model on this machine, such as http://127.0.0.1:11434/v1"),
            entry(localModelName, Type::Text, "", "its model"),
            entry(localModelContext, Type::Tokens, QByteArray::number(kUsualLocalContext), "how many tokens it takes"),
            entry(cloudModelAddress, Type::CloudAddress, "",
                  "server of a language model elsewhere, which is sent transcripts; its key is no setting"),
            entry(cloudModelName, Type::Text, "", "its model"),
            entry(cloudModelContext, Type::Tokens, QByteArray::number(kUsualCloudContext), "how many tokens it takes"),
            entry(automationPromptAttempted, Type::Bool, "false", "the notes application has been asked for access"),
            entry(automationGrantedCached, Type::Bool, "false", "its last answer"),
            entry(hasCompletedOnboarding, Type::Bool, "false", "the introduction has been seen"),
            entry(onboardingAIShown, Type::Bool, "false", "its page on summaries has been seen"),
        };
    }();
    return settings;
}

Result<QVariant, QString> parseBool(const QString& key, const QString& text) {
    if (const auto value = booleanFrom(text)) return QVariant(*value);
    return Failure{QStringLiteral("%1 is either true or false.").arg(key)};
}

Result<QVariant, QString> parseNumber(const QString& key, const QString& text, const char* what, NumberBounds bounds) {
    if (numberFrom(text, bounds)) return QVariant(text);
    return Failure{QStringLiteral("%1 is a %2 from %3 to %4.")
                       .arg(key, QString::fromLatin1(what))
                       .arg(bounds.least)
                       .arg(bounds.largest)};
}

Result<QVariant, QString> parseFolder(const SettingInfo& setting, const QString& text, FileServices& files) {
    if (!QDir::isAbsolutePath(text)) return Failure{QStringLiteral("%1 is an absolute path.").arg(setting.key)};
    const QByteArray path = QDir::cleanPath(text).toUtf8();
    if (setting.type == Type::Folder) return QVariant(path);
    const auto bookmark = files.makeBookmark(path.toStdString());
    if (!bookmark) return Failure{QStringLiteral("%1 cannot be used: %2").arg(text, bookmark.error().description)};
    return QVariant(*bookmark);
}

std::optional<QString> storedText(const SettingInfo& setting, const UserDefaults& defaults, FileServices& files) {
    if (setting.type != Type::Bookmark && setting.type != Type::Folder && setting.type != Type::Templates)
        return defaults.string(setting.key);
    const auto bytes = defaults.data(setting.key);
    if (!bytes) return std::nullopt;
    if (setting.type != Type::Bookmark) return QString::fromUtf8(*bytes);
    const auto folder = files.resolveBookmark(*bytes);
    return folder ? std::optional(QString::fromStdString(folder->url.string())) : std::nullopt;
}

} // namespace

std::span<const SettingInfo> settingsCatalogue() { return catalogue(); }

const SettingInfo* findSetting(const QString& key) {
    const auto& settings = catalogue();
    const auto found =
        std::find_if(settings.begin(), settings.end(), [&](const auto& setting) { return setting.key == key; });
    return found == settings.end() ? nullptr : &*found;
}

Result<QVariant, QString> parseSetting(const SettingInfo& setting, const QString& text, FileServices& files) {
    switch (setting.type) {
    case Type::Bool:
        return parseBool(setting.key, text);
    case Type::Text:
    case Type::Secret:
        return QVariant(text);
    case Type::Port:
        return parseNumber(setting.key, text, "port number", DefaultsValues::kPorts);
    case Type::LocalAddress:
    case Type::CloudAddress: {
        const auto address = setting.type == Type::LocalAddress ? localServiceAddress(text) : cloudServiceAddress(text);
        if (!address) return Failure{address.error()};
        return QVariant(text.trimmed());
    }
    case Type::Tokens:
        return parseNumber(setting.key, text, "number of tokens", DefaultsValues::kContextTokens);
    case Type::Choice:
        if (setting.choices.contains(text)) return QVariant(text);
        return Failure{QStringLiteral("%1 is one of: %2.").arg(setting.key, setting.choices.join(QLatin1String(", ")))};
    case Type::Folder:
    case Type::Bookmark:
        return parseFolder(setting, text, files);
    case Type::Uuid: {
        const bool hasBraces = text.startsWith(QLatin1Char('{')) && text.endsWith(QLatin1Char('}'));
        const auto id = TemplateRecords::parseUuid(hasBraces ? text.mid(1, text.size() - 2) : text);
        if (!id || id->isNull()) return Failure{QStringLiteral("%1 is a UUID.").arg(setting.key)};
        return QVariant(TemplateRecords::uuidText(*id));
    }
    case Type::Templates:
        if (const auto decoded = TemplateRecords::decodeList(text.toUtf8()); !decoded)
            return Failure{QStringLiteral("%1 is a JSON array of templates. %2").arg(setting.key, decoded.error())};
        return QVariant(text.toUtf8());
    }
    return Failure{QString()};
}

QString settingText(const SettingInfo& setting, const UserDefaults& defaults, FileServices& files) {
    if (setting.type == Type::Bool)
        return defaults.boolean(setting.key, setting.absent == QLatin1String("true")) ? QStringLiteral("true")
                                                                                      : QStringLiteral("false");
    const auto stored = storedText(setting, defaults, files);
    const bool isShownAnyway = setting.type == Type::Templates || setting.type == Type::Bookmark;
    if (!stored || (!isShownAnyway && !parseSetting(setting, *stored, files))) return setting.absent;
    return setting.type == Type::Secret ? QStringLiteral("(set)") : *stored;
}

} // namespace quillet
