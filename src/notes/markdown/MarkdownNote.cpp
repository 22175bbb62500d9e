#include "notes/markdown/MarkdownNote.h"

#include <QRegularExpression>
#include <QUrl>

namespace quillet::markdown {

QString withDashBullets(const QString& body) {
    static const auto& kBullet =
        *new QRegularExpression(QStringLiteral("^([ \\t]*)• "), QRegularExpression::MultilineOption);
    return QString(body).replace(kBullet, QStringLiteral("\\1- "));
}

QString withParagraphBelowHeading(const QString& body, const QString& paragraph) {
    const QString blankLine = QStringLiteral("\n\n");
    const qsizetype end = body.indexOf(blankLine);
    if (end < 0) return body + blankLine + paragraph + QLatin1Char('\n');
    return body.left(end) + blankLine + paragraph + body.mid(end);
}

QString linkLabel(const QString& text) {
    static const auto& kMarks = *new QRegularExpression(QStringLiteral("[\\\\\\[\\]`<>*_!]"));
    static const auto& kLineEnds =
        *new QRegularExpression(QStringLiteral("[\\x{0}-\\x{1F}\\x{7F}\\x{85}\\x{2028}\\x{2029}]+"));
    QString label = text;
    return label.replace(kLineEnds, QStringLiteral(" ")).replace(kMarks, QStringLiteral("\\\\\\0"));
}

QString linkTarget(const QString& path) {
    return QString::fromLatin1(QUrl::toPercentEncoding(path, QByteArrayLiteral("/")));
}

} // namespace quillet::markdown
