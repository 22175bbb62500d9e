#include "notes/joplin/RealJoplin.h"

#include "support/Files.h"
#include "support/WaitFor.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QProcessEnvironment>
#include <QTcpServer>

#include <csignal>
#include <sys/prctl.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

constexpr int kStartLimitMs = 40'000;
constexpr int kStopLimitMs = 10'000;

QString folder() { return qEnvironmentVariable("QUILLET_JOPLIN"); }
QString program() { return folder() + u"/node_modules/joplin/main.js"_s; }

quint16 freePort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

std::string RealJoplin::whyUnavailable() {
    if (folder().isEmpty()) return "QUILLET_JOPLIN does not name a folder made by scripts/fetch-joplin";
    if (!QFileInfo::exists(folder() + u"/.complete"_s))
        return "QUILLET_JOPLIN names a folder without Joplin: " + folder().toStdString();
    return {};
}

RealJoplin::RealJoplin() : m_port(freePort()) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Every upload leaves a copy there.
    const QString uploads = m_profile.filePath(u"tmp"_s);
    environment.insert(u"TMPDIR"_s, uploads);
    QDir().mkpath(uploads);
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    const QJsonObject settings{{u"api.token"_s, m_token}, {u"api.port"_s, m_port}};
    makeFile(m_profile.filePath(u"settings.json"_s), QJsonDocument(settings).toJson());
}

RealJoplin::~RealJoplin() {
    if (m_process.state() == QProcess::NotRunning) return;
    m_process.kill();
    m_process.waitForFinished(kStopLimitMs);
}

bool RealJoplin::start() {
    m_process.start(u"node"_s, {u"-r"_s, QStringLiteral(QUILLET_JOPLIN_HOOK), program(), u"--profile"_s,
                                m_profile.path(), u"server"_s, u"start"_s, u"--quiet"_s});
    m_process.waitForStarted();
    m_pid = m_process.processId();
    const bool answers = waitFor(
        [this] {
            return call("GET", u"/ping"_s) == "JoplinClipperServer" || m_process.state() == QProcess::NotRunning;
        },
        kStartLimitMs);
    if (answers && m_process.state() == QProcess::Running) return true;
    qWarning("Joplin does not start: %s", m_process.readAll().constData());
    return false;
}

void RealJoplin::accept() const { signal(SIGUSR2); }
void RealJoplin::reject() const { signal(SIGHUP); }

void RealJoplin::signal(int number) const { ::kill(static_cast<pid_t>(m_pid), number); }

QByteArray RealJoplin::call(const QByteArray& verb, const QString& path, const QJsonObject& body) const {
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    const QString separator = path.contains(u'?') ? u"&"_s : u"?"_s;
    QNetworkRequest request(
        QUrl(u"http://127.0.0.1:%1%2%3token=%4"_s.arg(QString::number(m_port), path, separator, m_token)));
    request.setTransferTimeout(kStopLimitMs);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    const std::unique_ptr<QNetworkReply> reply(manager.sendCustomRequest(
        request, verb, body.isEmpty() ? QByteArray() : QJsonDocument(body).toJson(QJsonDocument::Compact)));
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished()) loop.exec();
    return reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
}

QJsonObject RealJoplin::get(const QString& path) const { return QJsonDocument::fromJson(call("GET", path)).object(); }

QJsonArray RealJoplin::list(const QString& path) const {
    QJsonArray all;
    for (int page = 1;; ++page) {
        const QString separator = path.contains(u'?') ? u"&"_s : u"?"_s;
        const QJsonObject answer = get(path + separator + u"page=%1"_s.arg(page));
        for (const QJsonValue item : answer["items"_L1].toArray()) all.append(item);
        if (!answer["has_more"_L1].toBool()) return all;
    }
}

QJsonArray RealJoplin::notesIn(const QString& folderTitle) const {
    for (const QJsonValue folder : list(u"/folders?fields=id,title"_s)) {
        if (folder["title"_L1] == folderTitle)
            return list(u"/folders/%1/notes?fields=id,title,body"_s.arg(folder["id"_L1].toString()));
    }
    return {};
}

QString RealJoplin::makeFolder(const QString& title, const QString& parentId) const {
    const QByteArray answer = call("POST", u"/folders"_s, {{u"title"_s, title}, {u"parent_id"_s, parentId}});
    return QJsonDocument::fromJson(answer).object()["id"_L1].toString();
}

} // namespace quillet::test
