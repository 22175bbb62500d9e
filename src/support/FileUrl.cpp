#include "support/FileUrl.h"

#include <QByteArray>

namespace quillet {

QUrl fileUrl(const std::filesystem::path& path) {
    // With two slashes for the host that there is none of; what follows them would be taken for one.
    const QByteArray scheme = path.is_absolute() ? "file://" : "file:";
    return QUrl::fromEncoded(scheme + QByteArray(path.c_str()).toPercentEncoding("/"));
}

std::filesystem::path pathOf(const QUrl& fileUrl) {
    return QByteArray::fromPercentEncoding(fileUrl.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

} // namespace quillet
