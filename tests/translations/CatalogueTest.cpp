#include "Catalogue.h"

#include "support/ShownText.h"
#include "support/ShownTexts.h"
#include "support/Translations.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace quillet::test {
namespace {

using Key = Catalogue::Key;

QString placesOf(const QString& text) {
    static const QRegularExpression place(u"%\\d"_s);
    QStringList all;
    for (auto each = place.globalMatch(text); each.hasNext();) all += each.next().captured();
    all.sort();
    return all.join(u' ');
}

/// What stands at the end of a beginning, before its detail.
QString joint(const QString& text) {
    static const QRegularExpression end(u"(: | \\(| \")$"_s);
    return end.match(text).captured();
}

/// What exists on macOS only.
bool speaksOfTheMac(const QString& text) {
    static const QRegularExpression words(QStringLiteral(
        "\\bMac\\b|macOS|Apple|Finder|System Settings|Systemeinstellungen|Gemini|WhisperKit|[Mm]enu bar|Menüleiste|"
        "Sandbox|Screen [Cc]apture|Bildschirmaufnahme|Automation|\\bNotes "
        "folders\\b|display|shareable|writer|^Stream"));
    return words.match(text).hasMatch();
}

TEST(CatalogueTest, germanHoldsWhatTheSourcesAskForAndNothingElse) {
    const QString lupdate = QStringLiteral(QUILLET_LUPDATE);
    if (!QFile::exists(lupdate)) GTEST_SKIP() << "there is no lupdate to read the sources with";
    const QTemporaryDir folder;
    const QString fresh = folder.filePath(u"fresh.ts"_s);
    const QString sources = QStringLiteral(QUILLET_SOURCES);
    ASSERT_EQ(QProcess::execute(lupdate, {u"-silent"_s, u"-no-obsolete"_s, u"-I"_s, sources, sources, u"-ts"_s, fresh}),
              0);
    const Catalogue german = Catalogue::of("de");
    const Catalogue wanted = Catalogue::read(fresh);
    for (const auto& [key, entry] : wanted.entries) {
        EXPECT_TRUE(german.entries.contains(key)) << "not in the catalogue: " << key.source.toStdString();
        const bool isKnown = key.context.startsWith(QLatin1String("quillet::")) ||
                             key.context == QLatin1String("Messages") || key.context == QLatin1String("Placeholders");
        EXPECT_TRUE(isKnown) << "nothing asks for texts of " << key.context.toStdString();
    }
    for (const auto& [key, entry] : german.entries)
        EXPECT_TRUE(wanted.entries.contains(key)) << "in no source: " << key.source.toStdString();
}

TEST(CatalogueTest, everyEntryIsFinishedAndKeepsItsPlaces) {
    for (const char* const name : {"de", "linux", "de_linux"}) {
        for (const auto& [key, entry] : Catalogue::of(name).entries) {
            SCOPED_TRACE(testing::Message() << name << ": " << key.source.toStdString());
            EXPECT_EQ(entry.state, QString());
            EXPECT_FALSE(entry.translation.isEmpty());
            EXPECT_EQ(placesOf(entry.translation), placesOf(key.source));
            EXPECT_EQ(joint(entry.translation), joint(key.source));
            EXPECT_EQ(entry.translation.trimmed().size() == entry.translation.size(),
                      key.source.trimmed().size() == key.source.size());
            EXPECT_FALSE(entry.translation.contains(QLatin1String("  ")));
        }
    }
}

TEST(CatalogueTest, linuxHasItsOwnWordsForWhatIsTrueOnTheMacOnly) {
    const Catalogue sources = Catalogue::of("de");
    const Catalogue english = Catalogue::of("linux");
    const Catalogue german = Catalogue::of("de_linux");
    for (const auto& [key, entry] : sources.entries) {
        EXPECT_TRUE(!speaksOfTheMac(key.source) || english.entries.contains(key)) << key.source.toStdString();
    }
    for (const auto& [key, entry] : english.entries) {
        SCOPED_TRACE(key.source.toStdString());
        ASSERT_TRUE(sources.entries.contains(key)) << "no such text";
        ASSERT_TRUE(german.entries.contains(key)) << "not in German";
        EXPECT_NE(entry.translation, key.source);
        EXPECT_NE(german.entries.at(key).translation, sources.entries.at(key).translation);
        EXPECT_FALSE(speaksOfTheMac(entry.translation)) << entry.translation.toStdString();
        EXPECT_FALSE(speaksOfTheMac(german.entries.at(key).translation));
    }
    EXPECT_EQ(german.entries.size(), english.entries.size());
}

TEST(CatalogueTest, everyCataloguedMessageStandsSomewhereInTheSources) {
    QString all;
    QDirIterator files(QStringLiteral(QUILLET_SOURCES), {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.fileName().endsWith(QLatin1String("ShownTexts.cpp")) || !file.open(QFile::ReadOnly)) continue;
        all += QString::fromUtf8(file.readAll());
    }
    static const QRegularExpression seam(u"\"\\s*\""_s);
    all.remove(seam);
    for (const char* const text : shownTexts()) {
        const QString literal = QString::fromUtf8(text).replace(u'"', QLatin1String("\\\""));
        EXPECT_TRUE(all.contains(u'"' + literal)) << text;
    }
}

TEST(CatalogueTest, theLanguageIsTheFirstInWhichThereAreTexts) {
    const struct {
        QStringList wanted;
        const char* language;
    } rows[] = {{{u"de-AT"_s, u"en"_s}, "de"},
                {{u"de_CH"_s}, "de"},
                {{u"en-GB"_s, u"de"_s}, ""},
                {{u"fr-FR"_s, u"de-DE"_s}, "de"},
                {{u"C"_s, u"de"_s}, ""},
                {{u"xx"_s}, ""},
                {{}, ""}};
    for (const auto& row : rows)
        EXPECT_EQ(catalogueLanguage(row.wanted).toStdString(), row.language) << row.wanted.join(u' ').toStdString();
}

class InstalledTest : public testing::Test {
protected:
    ~InstalledTest() override { removeTranslations(); }
    static std::string shown(const char* text) { return shownText(QString::fromUtf8(text)).toStdString(); }
    static constexpr bool isLinux = sizeof(QUILLET_WORDING) > 1;
};

TEST_F(InstalledTest, platformWordsComeBeforeTheLanguagesAndDetailsAreShownToo) {
    installTranslations(*QCoreApplication::instance(), {u"de-DE"_s});
    EXPECT_EQ(shown("Not Enough Space"), "Zu wenig Speicherplatz");
    EXPECT_EQ(shown("No microphone available."),
              isLinux ? "Es gibt kein Mikrofon. Schließen Sie eines an oder wählen Sie in den Klangeinstellungen einen "
                        "Eingang."
                      : "Kein Mikrofon verfügbar.");
    EXPECT_EQ(shown("Microphone input failed: the sound server cannot be reached (Timeout: 3)"),
              "Fehler am Mikrofoneingang: der Soundserver ist nicht erreichbar (Timeout: 3)");
    EXPECT_EQ(shown("Microphone input failed: there is no microphone named \"a: b\""),
              "Fehler am Mikrofoneingang: es gibt kein Mikrofon namens \"a: b\"");
    EXPECT_EQ(shown("who: knows (what)"), "who: knows (what)");
}

TEST_F(InstalledTest, theCommandLineSpeaksEnglishInThePlatformsWords) {
    installPlatformWording(*QCoreApplication::instance());
    EXPECT_EQ(shown("Not Enough Space"), "Not Enough Space");
    EXPECT_EQ(shown("Stream start failed: gone"),
              isLinux ? "The sound output cannot be recorded: gone" : "Stream start failed: gone");
}

} // namespace
} // namespace quillet::test
