#pragma once

#include <QByteArray>
#include <QHash>
#include <QTcpServer>
#include <QUrl>
#include <QUrlQuery>

#include <functional>
#include <vector>

class QTcpSocket;

namespace quillet::test {

/// Something on a port of this machine that takes requests and answers as the test's script says. Its thread's events
/// have to run.
class HttpService : public QTcpServer {
public:
    struct Request {
        QByteArray verb;
        QString path;
        QUrlQuery query;
        QHash<QByteArray, QByteArray> headers; ///< by name, in small letters
        QByteArray body;                       ///< the beginning of a long one
        qint64 bodyBytes = 0;                  ///< how many have arrived
    };
    struct Answer {
        enum class Kind { Reply, Stream, Stall, Close, Die } kind = Kind::Reply;
        int status = 200;
        QByteArray body{};
        QByteArray header{};                     ///< one more line
        std::function<void(QTcpSocket&)> next{}; ///< what becomes of a stream after the body, which is in chunks
    };
    using Script = std::function<Answer(const Request&)>;

    explicit HttpService(Script script);
    ~HttpService() override;

    /// Stops listening and drops all connections.
    void die();
    /// Listens again on the same port.
    void revive();

    /// Reads so much more of an upload that it stalls.
    void letOn(qint64 bytes);

    /// "POST /notes", in the order of arrival.
    [[nodiscard]] QStringList journal() const;
    [[nodiscard]] int count(const QString& line) const { return static_cast<int>(journal().count(line)); }

    Script script;
    qint64 dieAfterBodyBytes = -1;   ///< of an upload; -1 for never
    qint64 stallAfterBodyBytes = -1; ///< stops reading there
    std::vector<Request> requests;   ///< as far as they came
    QByteArray received;             ///< the beginning of everything

private:
    struct Connection {
        QByteArray pending;
        bool inBody = false;
        qint64 expected = 0;
        std::size_t request = 0;
    };
    void read(QTcpSocket* socket);
    bool readHead(Connection& connection);
    void answer(QTcpSocket* socket, const Request& request);

    QHash<QTcpSocket*, Connection> m_connections;
    quint16 m_port = 0;
};

} // namespace quillet::test
