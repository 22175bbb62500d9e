#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <string>

namespace quillet::test {

/// Joplin itself, without a screen, with a profile of its own that ends with the object. QUILLET_JOPLIN names the
/// folder that scripts/fetch-joplin made. Main thread.
class RealJoplin {
public:
    /// Why there is none here; empty when there is.
    [[nodiscard]] static std::string whyUnavailable();

    RealJoplin();
    ~RealJoplin();
    RealJoplin(const RealJoplin&) = delete;
    RealJoplin& operator=(const RealJoplin&) = delete;

    /// With the profile as it is; false, with a message on standard error, when it does not answer in time.
    [[nodiscard]] bool start();
    /// What its user does in the dialog for a request to be let in. Any thread.
    void accept() const;
    void reject() const;

    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] const QString& token() const { return m_token; }

    /// A call of the Data API; the path may hold a query. Empty on any failure.
    QByteArray call(const QByteArray& verb, const QString& path, const QJsonObject& body = {}) const;
    [[nodiscard]] QJsonObject get(const QString& path) const;
    /// All pages.
    [[nodiscard]] QJsonArray list(const QString& path) const;
    /// Returns its id.
    QString makeFolder(const QString& title, const QString& parentId = {}) const;
    /// Id, title and body of each note.
    [[nodiscard]] QJsonArray notesIn(const QString& folderTitle) const;

private:
    void signal(int number) const;

    QTemporaryDir m_profile;
    QProcess m_process;
    std::atomic<qint64> m_pid = 0;
    quint16 m_port = 0;
    const QString m_token = QStringLiteral("first-token-of-this-profile");
};

} // namespace quillet::test
