#include "notes/joplin/JoplinSecrets.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace quillet {
namespace {

constexpr qint64 kMaxBytes = qint64{64} * 1024;

} // namespace

FileJoplinSecrets::FileJoplinSecrets(const std::filesystem::path& file, GivenToken givenToken)
    : m_path(QString::fromStdString(file.string())), m_givenToken(std::move(givenToken)) {}

QStringList FileJoplinSecrets::tokens() const {
    QStringList tokens;
    if (m_givenToken) tokens += m_givenToken().trimmed();
    const std::lock_guard lock(m_mutex);
    tokens += read().token;
    tokens.removeAll(QString());
    tokens.removeDuplicates();
    return tokens;
}

bool FileJoplinSecrets::isRefused() const {
    const std::lock_guard lock(m_mutex);
    return read().isRefused;
}

Result<void> FileJoplinSecrets::keepToken(const QString& token) {
    const std::lock_guard lock(m_mutex);
    return write({.token = token, .isRefused = false});
}

Result<void> FileJoplinSecrets::setRefused(bool refused) {
    const std::lock_guard lock(m_mutex);
    Contents contents = read();
    if (contents.isRefused == refused) return {};
    contents.isRefused = refused;
    return write(contents);
}

FileJoplinSecrets::Contents FileJoplinSecrets::read() const {
    QFile file(m_path);
    if (!file.open(QFile::ReadOnly)) return {};
    const QJsonObject object = QJsonDocument::fromJson(file.read(kMaxBytes)).object();
    return {.token = object.value(QLatin1String("token")).toString(),
            .isRefused = object.value(QLatin1String("refused")).toBool()};
}

Result<void> FileJoplinSecrets::write(const Contents& contents) {
    const QString folder = QFileInfo(m_path).path();
    if (!QFileInfo::exists(folder) && QDir().mkpath(folder))
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QJsonObject object{{QLatin1String("token"), contents.token}, {QLatin1String("refused"), contents.isRefused}};
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    QSaveFile file(m_path); // whose temporary file is its owner's only
    const bool written = file.open(QFile::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                         file.write(json) == json.size() && file.commit();
    if (!written) return Failure{PlatformError{0, file.errorString()}};
    return {};
}

} // namespace quillet
