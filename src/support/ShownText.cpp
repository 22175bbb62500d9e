#include "support/ShownText.h"

#include <QCoreApplication>

namespace quillet {
namespace {

/// What stands between a known beginning and its detail.
constexpr QLatin1String kSeparators[] = {QLatin1String(": "), QLatin1String(" ("), QLatin1String(" \"")};

QString translated(const QString& text) { return QCoreApplication::translate("Messages", text.toUtf8().constData()); }

} // namespace

QString shownText(const QString& source) {
    QString whole = translated(source);
    if (whole != source) return whole;
    for (const QLatin1String separator : kSeparators) {
        const qsizetype place = source.indexOf(separator);
        if (place < 0) continue;
        const QString beginning = source.first(place + separator.size());
        const QString shown = translated(beginning);
        if (shown != beginning) return shown + shownText(source.sliced(beginning.size()));
    }
    return source;
}

} // namespace quillet
