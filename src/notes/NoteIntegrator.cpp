#include "notes/NoteIntegrator.h"

#include "support/MainThread.h"

#include <QCryptographicHash>

#include <system_error>
#include <thread>
#include <utility>

namespace quillet {
namespace {

/// On a thread of its own that nobody waits for, not even the end of the program: it may be waiting for the main thread
/// or for another program just then.
void onWorker(std::function<void()> work) { std::thread(std::move(work)).detach(); }

QString automaticTitle(WallTime recordedAt) {
    const DateFormatter prefix("yyyyMMdd", "en_US_POSIX");
    const DateFormatter time("HH:mm", "en_US_POSIX");
    return prefix.format(recordedAt) + QStringLiteral(" - Meeting Recording - ") + time.format(recordedAt);
}

void appendSection(QString& body, const char* heading, const std::optional<QString>& text, const char* placeholder) {
    body += QLatin1String("## ") + QLatin1String(heading) + QLatin1Char('\n');
    body += text ? *text : QString::fromUtf8(placeholder);
    body += QLatin1String("\n\n");
}

/// No language, no time zone and no present moment: a repeat may find others. The recording's time counts to the
/// minute, as it is written into the note.
QString identityOf(const NoteRequest& request, bool withConsent) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const auto add = [&hash](const QByteArray& part) { hash.addData(QByteArray::number(part.size()) + ':' + part); };
    const MeetingDetails& details = request.details;
    add(QByteArray::number(
        qint64{std::chrono::floor<std::chrono::minutes>(request.recordedAt).time_since_epoch().count()}));
    add(details.durationSeconds ? QByteArray::number(*details.durationSeconds) : QByteArray());
    for (const auto& text : {details.title, details.attendees, details.aiSummary, details.keyDecisions,
                             details.actionItems, details.followUps, details.transcript})
        add(text ? '=' + text->toUtf8() : QByteArray());
    add(QByteArray::number(int{withConsent}));
    return QString::fromLatin1(hash.result().toHex());
}

std::filesystem::path absolutePath(const std::filesystem::path& path) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute;
}

} // namespace

NoteIntegrator::NoteIntegrator(std::shared_ptr<NotesApplication> application, const UserDefaults& defaults,
                               std::function<bool()> isAutomationGranted, std::function<WallTime()> now)
    : m_application(std::move(application)),
      m_defaults(defaults),
      m_isAutomationGranted(std::move(isAutomationGranted)),
      m_now(std::move(now)) {}

std::optional<CreateNoteResult> NoteIntegrator::createNote(const std::filesystem::path& recording, WallTime recordedAt,
                                                           const MeetingDetails& details) const {
    const auto outcome = makeNote({.recording = recording, .recordedAt = recordedAt, .details = details});
    if (!outcome) return std::nullopt;
    return toCreateNoteResult(*outcome);
}

std::optional<NoteOutcome> NoteIntegrator::makeNote(const NoteRequest& request) const {
    if (request.recording.empty() || !isNotesAvailable()) return std::nullopt;
    const auto& given = request.details.title;
    const QString title = given ? *given : automaticTitle(request.recordedAt);
    NoteDraft draft;
    draft.attachment = absolutePath(request.recording);
    draft.title = title.section(QLatin1Char('\n'), 0, 0);
    draft.body = body(title, request);
    draft.identity = identityOf(request, m_defaults.boolean(DefaultsKeys::includeConsentTimestamp));
    const QString folder = request.folderName ? request.folderName->trimmed() : folderNameOfSettings();
    if (!folder.isEmpty()) draft.folderName = folder;
    return m_application->createNoteWithAttachment(draft);
}

QString NoteIntegrator::body(const QString& title, const NoteRequest& request) const {
    const MeetingDetails& details = request.details;
    QString body = QStringLiteral("# ") + title + QStringLiteral(" — ") + longDateShortTime(request.recordedAt) +
                   QStringLiteral("\n\n");
    const QString duration = details.durationSeconds ? abbreviatedDuration(*details.durationSeconds) : QString();
    if (!duration.isEmpty()) body += QStringLiteral("**Duration:** ") + duration + QStringLiteral("\n\n");
    appendSection(body, "Attendees", details.attendees, "Unknown");
    appendSection(body, "Summary", details.aiSummary, "No summary available.");
    appendSection(body, "Key Decisions", details.keyDecisions, "• None recorded");
    appendSection(body, "Action Items", details.actionItems, "• None recorded");
    appendSection(body, "Follow-ups", details.followUps, "• None recorded");
    if (details.transcript && !details.transcript->isEmpty())
        body += QStringLiteral("## Transcript\n") + *details.transcript;
    if (m_defaults.boolean(DefaultsKeys::includeConsentTimestamp))
        body += QStringLiteral("\n\n---\nParticipant consent acknowledged: ") + longDateShortTime(m_now());
    return body;
}

QString NoteIntegrator::folderNameOfSettings() const {
    return m_defaults.string(DefaultsKeys::notesFolderName).value_or(QString()).trimmed();
}

bool NoteIntegrator::canUseFolder(const QString& folderName) const {
    const QString name = folderName.trimmed();
    return name.isEmpty() || m_application->canNameFolder(name);
}

void NoteIntegrator::fetchFoldersAsyncDetailed(FoldersCompletion completion) const {
    if (!mayAsk()) {
        MainThread::post([completion = std::move(completion)] { completion({}, true); });
        return;
    }
    // What the completion holds belongs to the main thread, so it goes there whole.
    onWorker([application = m_application, completion = std::move(completion)]() mutable {
        const std::vector<QString> folders = application->fetchFolders();
        MainThread::post([folders, completion = std::move(completion)] { completion(folders, folders.empty()); });
    });
}

void NoteIntegrator::testFolderConnection(const QString& folderName, TestCompletion completion) const {
    const QString name = folderName.trimmed();
    if (!mayAsk() || name.isEmpty()) {
        MainThread::post([completion = std::move(completion)] { completion(false); });
        return;
    }
    onWorker([application = m_application, name, completion = std::move(completion)]() mutable {
        const bool exists = application->testFolderConnection(name);
        MainThread::post([exists, completion = std::move(completion)] { completion(exists); });
    });
}

} // namespace quillet
