#pragma once

#include <QString>
#include <QStringList>

class QCoreApplication;

namespace quillet {

/// The catalogues of texts that are built into the program: translations, and the wordings of platforms on which some
/// of the system's own texts would not be true. Main thread, before the first window; the application owns what is
/// installed. A catalogue that is missing leaves the texts as they stand in the sources.

/// The platform's wording in the language of the sources. For what speaks that language only.
void installPlatformWording(QCoreApplication& application);

/// That, and over it the user's language with the platform's wording of that language, as far as they exist; also the
/// toolkit's own texts where they are installed. The languages are the user's, the preferred one first.
void installTranslations(QCoreApplication& application, const QStringList& uiLanguages);
/// The languages of the system's locale.
void installTranslations(QCoreApplication& application);

/// The first of the languages in which there are texts; empty when that is the language of the sources, or none.
[[nodiscard]] QString catalogueLanguage(const QStringList& uiLanguages);

} // namespace quillet
