#pragma once

#include "support/Result.h"

#include <QByteArray>
#include <QFile>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

namespace quillet::joplin {

/// Why Joplin did not do what it was asked for. The texts of its errors and of the network's hold the token, so they
/// go nowhere; this is all that is kept of them.
enum class Fault {
    NotRunning, ///< nothing on any port answers as Joplin
    Refused,    ///< no token, or one that Joplin does not take
    NotFound,   ///< no such note, folder or resource
    Stalled,    ///< no answer, or no progress, within the limit
    BrokenOff,  ///< the connection ended in the middle
    ServerError,
    Garbage ///< an answer that is not Joplin's
};

/// A sentence for the user.
[[nodiscard]] QString describe(Fault fault);

struct Limits {
    std::chrono::milliseconds ping{2'000};    ///< for what may not be Joplin, or has failed already
    std::chrono::milliseconds answer{15'000}; ///< for a whole request
    std::chrono::milliseconds upload{60'000}; ///< for the next step of an upload, not for all of it
};

using Query = std::vector<std::pair<QString, QString>>;

/// Requests to a service on this machine, one after another; each call waits for its answer. Owned and used by one
/// worker thread: the waiting runs that thread's events. Follows no redirection and uses no proxy, so that what is sent
/// reaches that port and nothing else. An answer is held in memory, up to a limit; an upload is not.
class Http {
public:
    explicit Http(quint16 port);

    using Milliseconds = std::chrono::milliseconds;
    /// Any verb and, with a JSON object, a body; the answer is an object, or empty where there is none.
    [[nodiscard]] Result<QJsonObject, Fault> request(Milliseconds limit, const QByteArray& verb, const QString& path,
                                                     const Query& query,
                                                     const std::optional<QJsonObject>& body = std::nullopt);
    /// A form with the properties and the file, which the other side knows by the given name.
    [[nodiscard]] Result<QJsonObject, Fault> upload(Milliseconds stepLimit, const QString& path, const Query& query,
                                                    const QJsonObject& properties, QFile& file,
                                                    const QString& fileName);

private:
    const quint16 m_port;
    QNetworkAccessManager m_manager;
};

/// The first of the ports where Joplin's service answers. Asks all of them at once and nothing but who is there.
[[nodiscard]] std::optional<quint16> findService(const std::vector<quint16>& ports, const Limits& limits);

} // namespace quillet::joplin
