#include "templates/TemplateNames.h"

#include "support/Characters.h"

namespace quillet {
namespace {

bool breaksALine(QChar c) {
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
           c.category() == QChar::Separator_Paragraph;
}

} // namespace

QString templateNameForOneLine(const QString& name, int characters) {
    QString text = firstCharacters(name, characters);
    if (text.size() < name.size()) text += QChar(u'…');
    for (QChar& c : text) {
        if (breaksALine(c)) c = c.isSpace() ? QChar(QChar::Space) : QChar(QChar::ReplacementCharacter);
    }
    return text;
}

QString templateFileName(const QString& proposed) {
    constexpr int kLongestName = 248; // bytes; of 255, what saving beside the file under a longer name leaves
    QString name = proposed;
    for (QChar& c : name) {
        if (c == QLatin1Char('/') || breaksALine(c)) c = QLatin1Char('-');
    }
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    const QString extension = dot < 0 ? QString() : name.mid(dot);
    const QString stem = dot < 0 ? name : name.left(dot);
    return firstCharactersWithin(stem, kLongestName, kLongestName - extension.toUtf8().size()) + extension;
}

} // namespace quillet
