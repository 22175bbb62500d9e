#include "app/NotesServices.h"
#include "cli/Commands.h"
#include "cli/Options.h"
#include "cli/Summarising.h"
#include "cli/Worker.h"
#include "platform/Process.h"
#include "settings/SettingsCatalogue.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace quillet::cli {
namespace {

constexpr auto kUsage =
    "Usage: quillet notes status\n"
    "       quillet notes folders\n"
    "       quillet notes test NAME\n"
    "       quillet notes create FILE [--title TEXT] [--folder NAME] [--attendees TEXT] [--summary TEXT]\n"
    "                                 [--decisions TEXT] [--actions TEXT] [--follow-ups TEXT] [--transcript FILE]\n"
    "                                 [--summarise]\n"
    "       quillet notes authorise";

QString settingNow(const QString& key) {
    return settingText(*findSetting(key), UserDefaults::standard(), FileServices::standard());
}

QString accessText(NotesAccess access) {
    switch (access) {
    case NotesAccess::NotDetermined:
        return QStringLiteral("not asked yet, or not running; see quillet notes authorise");
    case NotesAccess::Granted:
        return QStringLiteral("granted");
    case NotesAccess::Denied:
        return QStringLiteral("denied");
    }
    return {};
}

int status(NotesServices& notes) {
    const NotesAccess access = notes.application->probeAccess();
    const QString application = settingNow(DefaultsKeys::notesApplication);
    print(QStringLiteral("application   %1").arg(application));
    if (const QString vault = settingNow(DefaultsKeys::notesVaultFolder);
        application == DefaultsValues::vault && !vault.isEmpty())
        print(QStringLiteral("vault         %1").arg(vault));
    print(QStringLiteral("available     %1")
              .arg(notes.application->isAvailable() ? QStringLiteral("yes") : QStringLiteral("no")));
    print(QStringLiteral("access        %1").arg(accessText(access)));
    const QString folder = notes.integrator.folderNameOfSettings();
    print(QStringLiteral("folder        %1")
              .arg(folder.isEmpty() ? QStringLiteral("(the application's default)") : folder));
    for (const PendingNote& note : notes.pending.all())
        print(QStringLiteral("to be made    %1").arg(QFile::decodeName(note.recording.c_str())));
    return access == NotesAccess::Granted ? Done : Failed;
}

int folders(NotesServices& notes) {
    const auto names = notes.application->fetchFolders();
    for (const QString& name : names) print(name);
    if (!names.empty()) return Done;
    complain(
        QStringLiteral("There are no folders, or the notes application does not answer; see quillet notes status."));
    return Failed;
}

int test(NotesServices& notes, const QString& name) {
    const bool exists = notes.application->testFolderConnection(name);
    if (exists) return Done;
    // An application that does not answer has no folders either.
    const bool isOpen = notes.application->probeAccess() == NotesAccess::Granted;
    complain(isOpen ? QStringLiteral("There is no folder “%1”.").arg(name)
                    : QStringLiteral("The notes application does not let us look; see quillet notes status."));
    return Failed;
}

int authorise(NotesServices& notes) {
    if (notes.application->asksForConsent())
        complain(QStringLiteral("Please allow Quillet in your notes application; waiting for your answer."));
    UserDefaults& defaults = UserDefaults::standard();
    const auto chosen = defaults.string(DefaultsKeys::notesApplication);
    const bool granted = notes.application->requestAccess();
    if (defaults.string(DefaultsKeys::notesApplication) == chosen) { // the answer may have taken minutes
        defaults.set(DefaultsKeys::automationPromptAttempted, true);
        defaults.set(DefaultsKeys::automationGrantedCached, granted);
    }
    if (!granted && notes.application->probeAccess() == NotesAccess::NotDetermined) {
        complain(QStringLiteral("There was no answer: the notes application is not running, or nobody confirmed."));
        return Failed;
    }
    print(granted ? QStringLiteral("granted") : QStringLiteral("denied"));
    return granted ? Done : Failed;
}

struct CreateRequest {
    std::filesystem::path file;
    MeetingDetails details;
    std::optional<QString> folder;
    bool isToBeSummarised = false; ///< its transcript, where no text is given
};

/// The error is a sentence for the user.
Result<CreateRequest, QString> parseCreate(const QStringList& arguments) {
    QCommandLineParser parser;
    const char* const options[] = {"title",     "folder",  "attendees",  "summary",
                                   "decisions", "actions", "follow-ups", "transcript"};
    for (const char* option : options)
        parser.addOption({QString::fromLatin1(option), QString(), QStringLiteral("TEXT")});
    const QString summarise = QStringLiteral("summarise");
    parser.addOption({summarise, QString()});
    if (!parser.parse(arguments)) return Failure{parser.errorText()};
    if (parser.positionalArguments().size() != 1) return Failure{QString::fromLatin1(kUsage)};

    const auto text = [&parser](const char* option) -> std::optional<QString> {
        const QString name = QString::fromLatin1(option);
        return parser.isSet(name) ? std::optional(parser.value(name)) : std::nullopt;
    };
    const QString file = parser.positionalArguments().constFirst();
    if (file.isEmpty()) return Failure{QStringLiteral("The recording's name is empty.")};
    CreateRequest request{.file = QFile::encodeName(QFileInfo(file).absoluteFilePath()).toStdString(),
                          .details = {.title = text("title"),
                                      .attendees = text("attendees"),
                                      .aiSummary = text("summary"),
                                      .keyDecisions = text("decisions"),
                                      .actionItems = text("actions"),
                                      .followUps = text("follow-ups")},
                          .folder = text("folder"),
                          .isToBeSummarised = parser.isSet(summarise)};
    if (const auto path = text("transcript")) {
        const auto transcript = transcriptFrom(*path);
        if (!transcript) return Failure{transcript.error()};
        request.details.transcript = *transcript;
    } else if (request.isToBeSummarised) {
        return Failure{QStringLiteral("--summarise needs the meeting's --transcript.")};
    }
    return request;
}

/// A text that the user gives stays. False when the user wants nothing any more.
bool summarise(MeetingDetails& details, const StopToken& stop) {
    SummaryService service(UserDefaults::standard(), SystemLanguageModel::standard(), cloudModelKey);
    const SummaryOutcome outcome = summariseWithProgress(service, *details.transcript, stop);
    if (outcome.isCancelled) return false;
    if (!outcome.summary) complain(QStringLiteral("The note has no summary. ") + outcome.reason);
    const SummaryTexts texts = outcome.texts();
    const auto fill = [](std::optional<QString>& detail, const std::optional<QString>& text) {
        if (!detail) detail = text;
    };
    fill(details.aiSummary, texts.aiSummary);
    fill(details.keyDecisions, texts.keyDecisions);
    fill(details.actionItems, texts.actionItems);
    fill(details.followUps, texts.followUps);
    return true;
}

int create(NotesServices& notes, CreateRequest request, const StopToken& stop) {
    if (request.isToBeSummarised && !summarise(request.details, stop)) {
        complain(QStringLiteral("Cancelled; no note was made."));
        return Failed;
    }
    const auto outcome = notes.recordings.makeNoteLater(request.file, request.details, request.folder);
    if (outcome && outcome->success) return Done;
    complain(outcome ? outcome->reason
                     : QStringLiteral("No note was made: there is no such recording, or the notes application is not "
                                      "there. See quillet notes status."));
    return Failed;
}

} // namespace

int notes(const QStringList& arguments) {
    const QString verb = arguments.value(1);
    if (asksForHelp(arguments)) {
        print(QString::fromLatin1(kUsage));
        return Done;
    }
    NotesServices services(UserDefaults::standard(), [] { return true; });
    if (verb == QLatin1String("create")) {
        const auto request = parseCreate(arguments.mid(1));
        if (!request) {
            complain(request.error());
            return WrongUsage;
        }
        StopSource stop;
        // Otherwise nothing asks for the end, and it shall come at once.
        std::optional<TerminationRequests> signals;
        if (request->isToBeSummarised) signals.emplace([&stop] { stop.requestStop(); });
        return runOnWorker([&] { return create(services, *request, stop.token()); });
    }
    if (verb == QLatin1String("test") && arguments.size() == 3)
        return runOnWorker([&] { return test(services, arguments.at(2)); });
    struct Verb {
        const char* name;
        int (*run)(NotesServices& notes);
    };
    for (const Verb& plain : {Verb{"status", status}, {"folders", folders}, {"authorise", authorise}}) {
        if (arguments.size() == 2 && verb == QLatin1String(plain.name))
            return runOnWorker([&] { return plain.run(services); });
    }
    complain(QString::fromLatin1(kUsage));
    return WrongUsage;
}

} // namespace quillet::cli
