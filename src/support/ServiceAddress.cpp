#include "support/ServiceAddress.h"

#include <QRegularExpression>

namespace quillet {
namespace {

bool isLoopback(const QUrl& address) {
    static const QRegularExpression loopback(QStringLiteral(R"(\A127(\.\d{1,3}){3}\z)"));
    const QString host = address.host();
    return host == QLatin1String("localhost") || host == QLatin1String("::1") || loopback.match(host).hasMatch();
}

Result<QUrl, QString> webAddress(const QString& text) {
    const QString trimmed = text.trimmed();
    const QUrl url(trimmed.contains(QLatin1String("://")) ? trimmed : QStringLiteral("http://") + trimmed,
                   QUrl::StrictMode);
    const bool isWeb = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb || url.host().isEmpty())
        return Failure{QStringLiteral("The address is no web address.")};
    // Settings are shown; a password has no place there.
    if (!url.userInfo().isEmpty()) return Failure{QStringLiteral("The address must not hold a user or a password.")};
    if (url.hasQuery() || url.hasFragment())
        return Failure{QStringLiteral("The address must not hold anything behind “?” or “#”.")};
    return url;
}

} // namespace

Result<QUrl, QString> localServiceAddress(const QString& text) {
    auto url = webAddress(text);
    if (url && !isLoopback(*url))
        return Failure{QStringLiteral("The address of a local service is on this machine, such as "
                                      "http://127.0.0.1:11434/v1.")};
    return url;
}

Result<QUrl, QString> cloudServiceAddress(const QString& text) {
    auto url = webAddress(text);
    if (url && url->scheme() != QLatin1String("https") && !isLoopback(*url))
        return Failure{QStringLiteral("The address of a cloud service begins with https://.")};
    return url;
}

QString hostText(const QUrl& address) {
    const QString host = address.host().contains(u':') ? u'[' + address.host() + u']' : address.host();
    return address.port() < 0 ? host : QStringLiteral("%1:%2").arg(host).arg(address.port());
}

} // namespace quillet
