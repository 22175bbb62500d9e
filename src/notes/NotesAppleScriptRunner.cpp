#include "notes/NotesAppleScriptRunner.h"

#include "support/MainThread.h"
#include "support/Require.h"

namespace quillet {
namespace {

// The texts are what Notes is known to understand: every space and line feed counts, and none ends in a line feed.

const QString kProbe = QStringLiteral(R"(tell application "Notes" to get name)");

const QString kFolderList = QStringLiteral(R"(tell application "Notes"
    try
        set defaultAccount to default account
        set folderNames to {}
        repeat with f in (every folder of defaultAccount)
            set end of folderNames to name of f
        end repeat
        return folderNames
    on error
        return {}
    end try
end tell)");

const QString kFolderTestToName = QStringLiteral(R"(tell application "Notes"
    set defaultAccount to default account
    repeat with f in (every folder of defaultAccount)
        if name of f is ")");
const QString kFolderTestFromName = QStringLiteral(R"(" then
            return true
        end if
    end repeat
    return false
end tell)");

const QString kNoteToPath = QStringLiteral(R"(set theFile to POSIX file ")");
const QString kPathToTitle = QStringLiteral(R"(" as alias
tell application "Notes"
    set newNote to make new note at default account with properties {name: ")");
const QString kPathToFolder = QStringLiteral(R"(" as alias
tell application "Notes"
    set targetAccount to default account
    set targetFolderName to ")");
const QString kFolderToTitle = QStringLiteral(R"("
    set targetFolder to missing value
    repeat with f in (every folder of targetAccount)
        if name of f is targetFolderName then
            set targetFolder to f
            exit repeat
        end if
    end repeat
    if targetFolder is missing value then
        set targetFolder to make new folder at targetAccount with properties {name: targetFolderName}
    end if
    set newNote to make new note at targetFolder with properties {name: ")");
const QString kTitleToBody = QStringLiteral(R"(", body: ")");
const QString kNoteFromBody = QStringLiteral(R"("}
    tell newNote
        make new attachment with data theFile
    end tell
    return id of newNote
end tell)");

/// A value between the quotes of a string literal. The backslash goes first, lest the later escapes be doubled, and
/// the pair of carriage return and line feed before either of them, because it ends one line.
QString escaped(QString value) {
    const QString lineEnd = QStringLiteral("\\n");
    value.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
    value.replace(QStringLiteral("\""), QStringLiteral("\\\""));
    value.replace(QStringLiteral("\r\n"), lineEnd);
    value.replace(QStringLiteral("\n"), lineEnd);
    value.replace(QStringLiteral("\r"), lineEnd);
    return value;
}

QString createNoteSource(const QString& filePath, const QString& title, const QString& body,
                         const std::optional<QString>& folderName) {
    const QString path = escaped(filePath);
    const QString name = escaped(title);
    const QString text = escaped(body);
    const QString folder = escaped(folderName.value_or(QString()));
    const QString place = folder.isEmpty() ? kPathToTitle : kPathToFolder + folder + kFolderToTitle;
    return kNoteToPath + path + place + name + kTitleToBody + text + kNoteFromBody;
}

template <typename T>
T onMainThread(const std::function<T()>& work) {
    T result{};
    MainThread::runAndWait([&] { result = work(); });
    return result;
}

} // namespace

std::vector<QString> NotesAppleScriptRunner::fetchFolders() const {
    return onMainThread<std::vector<QString>>([this] { return runAppleScriptReturningStringList(kFolderList); });
}

bool NotesAppleScriptRunner::testFolderConnection(const QString& folderName) const {
    const QString trimmed = folderName.trimmed();
    if (trimmed.isEmpty()) return false;
    const QString source = kFolderTestToName + escaped(trimmed) + kFolderTestFromName;
    return onMainThread<bool>([&] { return runAppleScriptReturningBool(source); });
}

bool NotesAppleScriptRunner::checkNotesAutomationAccess() const {
    return onMainThread<bool>([this] {
        const auto outcome = m_host->execute(kProbe);
        return outcome && outcome->ok();
    });
}

CreateNoteResult NotesAppleScriptRunner::createNoteWithAttachment(const QString& filePath, const QString& title,
                                                                  const QString& body,
                                                                  const std::optional<QString>& folderName) const {
    return onMainThread<CreateNoteResult>(
        [&] { return executeCreateNoteScript(createNoteSource(filePath, title, body, folderName)); });
}

CreateNoteResult NotesAppleScriptRunner::executeCreateNoteScript(const QString& source) const {
    const auto outcome = m_host->execute(source);
    if (!outcome) return {};
    if (!outcome->ok()) return {.success = false, .isAutomationDenied = isAutomationDeniedError(outcome->error())};
    return {.success = true, .isAutomationDenied = false};
}

std::vector<QString> NotesAppleScriptRunner::runAppleScriptReturningStringList(const QString& source) const {
    const auto outcome = m_host->execute(source);
    if (!outcome || !outcome->ok()) return {};
    const ScriptDescriptor& list = outcome->value();
    if (list.descriptorType != fourCharCode("list")) return {};
    if (list.numberOfItems < 0) return {};
    // The items are those from the first to the last, and a list of none has neither. Going on is not wanted here: the
    // script answers so when the account has no folders and when its own error branch was taken, and the two must not
    // pass for a list.
    require(list.numberOfItems >= 1, "Notes answered with an empty list of folders");

    std::vector<QString> strings;
    for (std::int64_t index = 1; index <= list.numberOfItems; ++index) {
        const ScriptDescriptor* const item = list.descriptorAtIndex(index);
        if (!item) continue;
        const bool isText =
            item->descriptorType == fourCharCode("utxt") || item->descriptorType == fourCharCode("TEXT");
        if (isText && item->stringValue) strings.push_back(*item->stringValue);
    }
    return strings;
}

bool NotesAppleScriptRunner::runAppleScriptReturningBool(const QString& source) const {
    const auto outcome = m_host->execute(source);
    return outcome && outcome->ok() && outcome->value().booleanValue;
}

bool NotesAppleScriptRunner::isAutomationDeniedError(const ScriptErrorInfo& error) {
    constexpr std::int64_t kEventNotPermitted = -1743;
    constexpr std::int64_t kApplicationNotFound = -10814;
    const std::int64_t number = error.number.value_or(0);
    if (number == kEventNotPermitted || number == kApplicationNotFound) return true;
    // Other numbers come with a refusal too, and then only the wording, in either spelling, tells it.
    const QString text =
        (error.message.value_or(QString()) + QLatin1Char(' ') + error.briefMessage.value_or(QString())).toLower();
    const auto has = [&text](const char* words) { return text.contains(QLatin1String(words)); };
    if (has("not authorised") || has("not authorized")) return true;
    return has("apple events") && (has("denied") || has("allow"));
}

} // namespace quillet
