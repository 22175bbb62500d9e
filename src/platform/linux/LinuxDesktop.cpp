#include "platform/linux/LinuxDesktop.h"

#include <QProcess>
#include <QString>

namespace quillet {

std::unique_ptr<Desktop> makeDesktop() { return std::make_unique<LinuxDesktop>(); }

void LinuxDesktop::openUrl(const QUrl& url) {
    // Without a scheme the text would be taken for a file, or for an option.
    if (!url.isValid() || url.scheme().isEmpty()) return;
    QProcess::startDetached(QStringLiteral("xdg-open"), {QString::fromLatin1(url.toEncoded())});
}

} // namespace quillet
