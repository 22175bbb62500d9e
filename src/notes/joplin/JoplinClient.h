#pragma once

#include "notes/joplin/JoplinHttp.h"

#include <QString>

#include <vector>

namespace quillet::joplin {

struct JoplinFolder {
    QString id;
    QString title;
    QString parentId; ///< empty on the top level
    double createdMs = 0;
};

/// What the application's dialog says about a request to be let in.
struct Consent {
    enum class Status { Waiting, Accepted, Rejected };
    Status status = Status::Waiting;
    QString token; ///< Accepted only
};

/// The calls of Joplin's Data API that the product needs, typed. Keeps nothing but the connection; used by one worker
/// thread. An answer without what it must have counts as garbage.
class Client {
public:
    Client(quint16 port, const Limits& limits) : m_limits(limits), m_http(port) {}

    [[nodiscard]] Result<bool, Fault> isValid(const QString& token);
    /// For all that follows.
    void setToken(const QString& token) { m_token = token; }

    /// Makes Joplin ask its user; the answer names the request.
    [[nodiscard]] Result<QString, Fault> requestConsent();
    /// ServerError when a later request took the place of this one, or Joplin was restarted.
    [[nodiscard]] Result<Consent, Fault> consent(const QString& request);

    /// Those that notes can be put into: neither in the trash nor encrypted.
    [[nodiscard]] Result<std::vector<JoplinFolder>, Fault> folders();
    /// The id. A call that is repeated by the network makes one folder.
    [[nodiscard]] Result<QString, Fault> makeFolder(const QString& title);

    struct Note {
        bool isInTrash = false;
        bool hasBody = false;
    };
    /// Absent when there is none of this id.
    [[nodiscard]] Result<std::optional<Note>, Fault> note(const QString& id);
    [[nodiscard]] Result<std::optional<qint64>, Fault> resourceBytes(const QString& id);

    /// Without a body, which Joplin would search for pictures to fetch.
    [[nodiscard]] Result<void, Fault> makeNote(const QString& id, const QString& title, const QString& folderId);
    [[nodiscard]] Result<void, Fault> setBody(const QString& noteId, const QString& body);
    [[nodiscard]] Result<void, Fault> makeResource(const QString& id, const QString& title, QFile& file,
                                                   const QString& suffix);
    void removeNote(const QString& id);
    void removeResource(const QString& id);

private:
    [[nodiscard]] Query authorised(Query query = {}) const;
    void remove(const QString& path);

    const Limits m_limits;
    Http m_http;
    QString m_token;
};

/// 32 hexadecimal digits, as Joplin's ids are.
[[nodiscard]] QString newId();

} // namespace quillet::joplin
