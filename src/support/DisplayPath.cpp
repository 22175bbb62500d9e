#include "support/DisplayPath.h"

#include <QFile>

namespace quillet {

QString displayPath(const std::filesystem::path& path, const std::optional<std::filesystem::path>& home) {
    QString shown = QFile::decodeName(path.c_str());
    if (!home) return shown;
    QString homePath = QFile::decodeName(home->c_str());
    while (homePath.size() > 1 && homePath.endsWith(QLatin1Char('/'))) homePath.chop(1);
    if (homePath == QLatin1Char('/')) return shown; // everything is below that
    if (shown == homePath) return QStringLiteral("~");
    if (shown.startsWith(homePath + QLatin1Char('/'))) return QLatin1Char('~') + shown.mid(homePath.size());
    return shown;
}

} // namespace quillet
