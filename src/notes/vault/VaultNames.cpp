#include "notes/vault/VaultNames.h"

#include "support/Characters.h"

#include <QRegularExpression>

namespace quillet::vault {
namespace {

constexpr int kMaxCharacters = 100;
constexpr qsizetype kMaxSuffixBytes = 8;
constexpr qsizetype kMaxNumberBytes = 8; ///< " (10000)"
constexpr qsizetype kMaxNameBytes = 255; ///< that file systems take
/// The note and its recording share the base name, so it leaves room for the longest end.
constexpr qsizetype kMaxBytes = kMaxNameBytes - kMaxNumberBytes - kMaxSuffixBytes;

bool isForbidden(QChar character) {
    static const QString kForbidden = QStringLiteral("*|/\\:\"<>?#^[]%");
    return kForbidden.contains(character);
}

/// Changes the direction of what follows: in a name that only serves to disguise its end.
bool turnsText(QChar character) {
    const char16_t unit = character.unicode();
    return (unit >= 0x202A && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

bool isReservedElsewhere(const QString& name) {
    static const auto& kDevices = *new QRegularExpression(
        QStringLiteral("^(CON|PRN|AUX|NUL|(COM|LPT)[0-9¹²³])[ ]*(\\.|$)"), QRegularExpression::CaseInsensitiveOption);
    return kDevices.match(name).hasMatch();
}

} // namespace

QString fileBaseName(const QString& title) {
    QString name;
    // Through UTF-8 and back: halves of surrogate pairs are no text, and no name.
    for (const QChar character : QString::fromUtf8(title.toUtf8())) {
        if (turnsText(character)) continue;
        if (character.category() == QChar::Other_Control || character.isSpace()) {
            name += QLatin1Char(' ');
        } else {
            name += isForbidden(character) ? QLatin1Char('-') : character;
        }
    }
    name = name.simplified();
    while (name.startsWith(QLatin1Char('.')) || name.startsWith(QLatin1Char(' '))) name.remove(0, 1);
    if (isReservedElsewhere(name)) name.prepend(QLatin1Char('_'));
    name = firstCharactersWithin(name, kMaxCharacters, kMaxBytes);
    while (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' '))) name.chop(1);
    return name.isEmpty() ? QStringLiteral("Recording") : name;
}

std::string fileName(const QString& baseName, int attempt, const QString& suffix) {
    const QString number = attempt == 1 ? QString() : QStringLiteral(" (%1)").arg(attempt);
    return (baseName + number + suffix).toStdString();
}

QString attachmentSuffix(const QString& fileName) {
    static const auto& kPlain = *new QRegularExpression(QStringLiteral("\\.[A-Za-z0-9]+$"));
    const QString suffix = kPlain.match(fileName).captured();
    return suffix.size() < 2 || suffix.size() > kMaxSuffixBytes ? QStringLiteral(".m4a") : suffix;
}

bool isFolderName(const QString& name) {
    return !name.isEmpty() && !name.startsWith(QLatin1Char('.')) && !name.contains(QLatin1Char('/')) &&
           !name.contains(QChar::Null) && name.toUtf8().size() <= kMaxNameBytes;
}

} // namespace quillet::vault
