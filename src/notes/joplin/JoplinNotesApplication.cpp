#include "notes/joplin/JoplinNotesApplication.h"

#include "notes/joplin/JoplinNoteMaking.h"

#include <QCollator>
#include <QFileInfo>

#include <algorithm>
#include <numeric>

namespace quillet {
namespace {

using joplin::Fault;
using joplin::JoplinFolder;

constexpr quint16 kFirstPort = 41184;
constexpr std::size_t kPortCount = 10;
constexpr const char* kJoplinsOwnFolder = "Conflicts"; ///< in English; it refuses to make another of that name
constexpr const char* kFolderOfLastResort = "Quillet Notes";

std::vector<quint16> usualPorts() {
    std::vector<quint16> ports(kPortCount);
    std::iota(ports.begin(), ports.end(), kFirstPort);
    return ports;
}

/// What Joplin makes of a folder's title: without this the folder made would not be found again, and made again.
QString titleAsKept(QString title) {
    title = title.trimmed();
    while (title.startsWith(QLatin1Char('/')) || title.startsWith(QLatin1Char('\\'))) title.remove(0, 1);
    return title;
}

/// Exactly the title, preferably on the top level.
const JoplinFolder* find(const std::vector<JoplinFolder>& folders, const QString& title) {
    const JoplinFolder* found = nullptr;
    for (const JoplinFolder& folder : folders) {
        if (folder.title != title) continue;
        if (folder.parentId.isEmpty()) return &folder;
        if (!found) found = &folder;
    }
    return found;
}

NoteOutcome failed(Fault fault) {
    return fault == Fault::Refused ? NoteOutcome::refused(joplin::describe(fault))
                                   : NoteOutcome::failed(joplin::describe(fault));
}

} // namespace

JoplinNotesApplication::JoplinNotesApplication(std::shared_ptr<JoplinSecrets> secrets, JoplinOptions options)
    : m_secrets(std::move(secrets)), m_options(std::move(options)) {}

bool JoplinNotesApplication::isAvailable() const { return m_wasFound || !m_secrets->tokens().isEmpty(); }

std::optional<quint16> JoplinNotesApplication::findPort() {
    std::vector<quint16> ports = m_options.ports ? m_options.ports() : std::vector<quint16>();
    if (ports.empty()) ports = usualPorts();
    const auto port = joplin::findService(ports, m_options.limits);
    if (port) m_wasFound = true;
    return port;
}

Result<JoplinNotesApplication::Client, Fault> JoplinNotesApplication::connect() {
    const auto port = findPort();
    if (!port) return Failure{Fault::NotRunning};
    auto client = std::make_unique<joplin::Client>(*port, m_options.limits);
    for (const QString& token : m_secrets->tokens()) {
        const auto valid = client->isValid(token);
        if (!valid) return Failure{valid.error()};
        if (!*valid) continue;
        client->setToken(token);
        return client;
    }
    return Failure{Fault::Refused};
}

NotesAccess JoplinNotesApplication::probeAccess() {
    const auto client = connect();
    if (client) return NotesAccess::Granted;
    return m_secrets->isRefused() ? NotesAccess::Denied : NotesAccess::NotDetermined;
}

bool JoplinNotesApplication::requestAccess() {
    {
        std::unique_lock lock(m_consentMutex);
        if (m_isAsking) {
            m_consentChanged.wait(lock, [this] { return !m_isAsking; });
            return m_lastAnswer;
        }
        m_isAsking = true;
        m_isCancelled = false;
    }
    const bool answer = connect().ok() || (!isCancelled() && askForConsent());
    const std::lock_guard lock(m_consentMutex);
    m_isAsking = false;
    m_lastAnswer = answer;
    m_consentChanged.notify_all();
    return answer;
}

void JoplinNotesApplication::cancelRequest() {
    const std::lock_guard lock(m_consentMutex);
    m_isCancelled = true;
    m_consentChanged.notify_all();
}

bool JoplinNotesApplication::isCancelled() {
    const std::lock_guard lock(m_consentMutex);
    return m_isCancelled;
}

bool JoplinNotesApplication::waitOrCancelled() {
    std::unique_lock lock(m_consentMutex);
    return m_consentChanged.wait_for(lock, m_options.consentPoll, [this] { return m_isCancelled; });
}

bool JoplinNotesApplication::askForConsent() {
    const auto port = findPort();
    if (!port) return false;
    joplin::Client client(*port, m_options.limits);
    const auto request = client.requestConsent();
    // The user is asked anew: what was answered before counts no more.
    if (!request || !m_secrets->setRefused(false)) return false;
    const auto deadline = std::chrono::steady_clock::now() + m_options.consentLimit;
    while (std::chrono::steady_clock::now() < deadline && !waitOrCancelled()) {
        const auto consent = client.consent(*request);
        // An answer may be late while Joplin is busy. Anything else ends the request, for example that another program
        // asked after us: its dialog is the one that is shown, and asking again would take it away.
        if (!consent && consent.error() == Fault::Stalled) continue;
        if (!consent) return false;
        if (consent->status == joplin::Consent::Status::Accepted) return m_secrets->keepToken(consent->token).ok();
        if (consent->status != joplin::Consent::Status::Rejected) continue;
        static_cast<void>(m_secrets->setRefused(true).ok());
        return false;
    }
    return false;
}

std::vector<QString> JoplinNotesApplication::fetchFolders() {
    const auto client = connect();
    const auto folders = client ? (*client)->folders() : Failure{client.error()};
    if (!folders) return {};
    std::vector<QString> titles;
    for (const JoplinFolder& folder : *folders) {
        if (folder.parentId.isEmpty()) titles.push_back(folder.title);
    }
    QCollator order;
    order.setCaseSensitivity(Qt::CaseInsensitive);
    order.setNumericMode(true);
    std::sort(titles.begin(), titles.end(), [&order](const QString& left, const QString& right) {
        const int byCollation = order.compare(left, right);
        return byCollation != 0 ? byCollation < 0 : left < right;
    });
    titles.erase(std::unique(titles.begin(), titles.end()), titles.end());
    return titles;
}

bool JoplinNotesApplication::testFolderConnection(const QString& folderName) {
    const QString title = folderName.trimmed();
    if (title.isEmpty()) return false;
    const auto client = connect();
    const auto folders = client ? (*client)->folders() : Failure{client.error()};
    return folders && find(*folders, title);
}

Result<QString, Fault> JoplinNotesApplication::findOrMakeFolder(joplin::Client& client, const QString& title) {
    const std::lock_guard lock(m_folderMutex);
    const auto folders = client.folders();
    if (!folders) return Failure{folders.error()};
    if (title.isEmpty() && !folders->empty()) {
        // The newest, as Joplin itself chooses; but Joplin counts those in the trash, where the note would be lost.
        return std::max_element(folders->begin(), folders->end(),
                                [](const auto& left, const auto& right) { return left.createdMs < right.createdMs; })
            ->id;
    }
    const QString wanted = title.isEmpty() ? QString::fromLatin1(kFolderOfLastResort) : title;
    if (const JoplinFolder* folder = find(*folders, wanted)) return folder->id;
    if (const JoplinFolder* folder = find(*folders, titleAsKept(wanted))) return folder->id;
    return client.makeFolder(titleAsKept(wanted));
}

bool JoplinNotesApplication::canNameFolder(const QString& name) const {
    const QString title = titleAsKept(name);
    return !title.isEmpty() && title != QLatin1String(kJoplinsOwnFolder);
}

NoteOutcome JoplinNotesApplication::createNoteWithAttachment(const NoteDraft& draft) {
    joplin::Recording recording(draft.attachment);
    if (!recording.isOpen())
        return NoteOutcome::failed(QStringLiteral("The recording %1 cannot be read.").arg(recording.file.fileName()));
    const QString folderName = draft.folderName.value_or(QString()).trimmed();
    const QString unnamable = QStringLiteral("A folder in Joplin cannot be called “%1”.").arg(folderName);
    if (!folderName.isEmpty() && titleAsKept(folderName).isEmpty()) return NoteOutcome::failed(unnamable);
    const auto client = connect();
    if (!client) return failed(client.error());
    const auto folder = findOrMakeFolder(**client, folderName);
    // In another language than English it is an ordinary name, which a folder may have.
    const bool isUnnamable = !folder && folder.error() == Fault::ServerError && !canNameFolder(folderName);
    if (isUnnamable) return NoteOutcome::failed(unnamable);
    if (!folder) return failed(folder.error());
    const auto made = joplin::makeNote(**client, draft, recording, *folder, m_options.lockFolder);
    return made ? NoteOutcome::made() : failed(made.error());
}

} // namespace quillet
