#include "support/Translations.h"

#include <QCoreApplication>
#include <QFile>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace quillet {
namespace {

const QString kFolder = QStringLiteral(":/translations");
const QString kPlatformWording =
    QStringLiteral(QUILLET_PLATFORM_WORDING); ///< empty where the texts are true as they are

QString ours(const QString& name) { return QStringLiteral("quillet_") + name; }

/// Texts are looked up in the catalogue that was installed last, then in those before.
void install(QCoreApplication& application, const QString& name, const QString& folder) {
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(name, folder)) return;
    QTranslator* const installed = translator.release();
    installed->setParent(&application);
    QCoreApplication::installTranslator(installed);
}

} // namespace

QString catalogueLanguage(const QStringList& uiLanguages) {
    for (const QString& each : uiLanguages) {
        QString language = each.section(u'-', 0, 0).section(u'_', 0, 0);
        // A second choice does not come before the language of the sources.
        if (language == QLatin1String("en") || language == QLatin1String("C")) return {};
        if (QFile::exists(kFolder + u'/' + ours(language) + QStringLiteral(".qm"))) return language;
    }
    return {};
}

void installPlatformWording(QCoreApplication& application) {
    if (!kPlatformWording.isEmpty()) install(application, ours(kPlatformWording), kFolder);
}

void installTranslations(QCoreApplication& application, const QStringList& uiLanguages) {
    installPlatformWording(application);
    const QString language = catalogueLanguage(uiLanguages);
    if (language.isEmpty()) return;
    install(application, QStringLiteral("qtbase_") + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    install(application, ours(language), kFolder);
    if (!kPlatformWording.isEmpty()) install(application, ours(language + u'_' + kPlatformWording), kFolder);
}

void installTranslations(QCoreApplication& application) {
    installTranslations(application, QLocale::system().uiLanguages());
}

} // namespace quillet
