#include "notes/joplin/RealJoplin.h"

#include "support/WaitFor.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
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

constexpr int kStartLimitMs = 40'000;
constexpr int kStopLimitMs = 10'000;

QString folder() { return qEnvironmentVariable("QUILLET_JOPLIN"); }
QString program() { return folder() + QStringLiteral("/node_modules/joplin/main.js"); }

quint16 freePort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

std::string RealJoplin::whyUnavailable() {
    if (folder().isEmpty()) return "QUILLET_JOPLIN does not name a folder made by scripts/fetch-joplin";
    if (!QFileInfo::exists(folder() + QStringLiteral("/.complete")))
        return "QUILLET_JOPLIN names a folder without Joplin: " + folder().toStdString();
    return {};
}

RealJoplin::RealJoplin() : m_port(freePort()) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // Every upload leaves a copy there.
    environment.insert(QStringLiteral("TMPDIR"), uploads());
    QDir().mkpath(uploads());
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    writeSettings();
}

RealJoplin::~RealJoplin() { kill(); }

void RealJoplin::writeSettings() const {
    QFile file(m_profile.filePath(QStringLiteral("settings.json")));
    if (!file.open(QFile::WriteOnly)) return;
    const QJsonObject settings{{QStringLiteral("api.token"), m_token}, {QStringLiteral("api.port"), m_port}};
    file.write(QJsonDocument(settings).toJson());
}

bool RealJoplin::start() {
    m_process.start(QStringLiteral("node"),
                    {QStringLiteral("-r"), QStringLiteral(QUILLET_JOPLIN_HOOK), program(), QStringLiteral("--profile"),
                     m_profile.path(), QStringLiteral("server"), QStringLiteral("start"), QStringLiteral("--quiet")});
    m_process.waitForStarted();
    m_pid = m_process.processId();
    const bool answers = waitFor(
        [this] {
            return call("GET", QStringLiteral("/ping")) == "JoplinClipperServer" ||
                   m_process.state() == QProcess::NotRunning;
        },
        kStartLimitMs);
    if (answers && m_process.state() == QProcess::Running) return true;
    qWarning("Joplin does not start: %s", m_process.readAll().constData());
    return false;
}

void RealJoplin::kill() {
    if (m_process.state() == QProcess::NotRunning) return;
    m_process.kill();
    m_process.waitForFinished(kStopLimitMs);
}

void RealJoplin::crash() const { signal(SIGKILL); }
void RealJoplin::accept() const { signal(SIGUSR2); }
void RealJoplin::reject() const { signal(SIGHUP); }

void RealJoplin::signal(int number) const { ::kill(static_cast<pid_t>(m_pid), number); }

void RealJoplin::setToken(const QString& token) {
    m_token = token;
    writeSettings();
}

QByteArray RealJoplin::call(const QByteArray& verb, const QString& path, const QJsonObject& body) const {
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    const QString separator = path.contains(QLatin1Char('?')) ? QStringLiteral("&") : QStringLiteral("?");
    QNetworkRequest request(
        QUrl(QStringLiteral("http://127.0.0.1:%1%2%3token=%4").arg(QString::number(m_port), path, separator, m_token)));
    request.setTransferTimeout(kStopLimitMs);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
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
        const QString separator = path.contains(QLatin1Char('?')) ? QStringLiteral("&") : QStringLiteral("?");
        const QJsonObject answer = get(path + separator + QStringLiteral("page=%1").arg(page));
        for (const QJsonValue item : answer[QLatin1String("items")].toArray()) all.append(item);
        if (!answer[QLatin1String("has_more")].toBool()) return all;
    }
}

QString RealJoplin::makeFolder(const QString& title, const QString& parentId) const {
    const QByteArray answer = call("POST", QStringLiteral("/folders"),
                                   {{QStringLiteral("title"), title}, {QStringLiteral("parent_id"), parentId}});
    return QJsonDocument::fromJson(answer).object()[QLatin1String("id")].toString();
}

} // namespace quillet::test
