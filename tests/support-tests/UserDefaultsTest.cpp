#include "support/UserDefaults.h"

#include "support/DateTexts.h"
#include "support/Files.h"

#include <QDateTime>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ctime>

namespace quillet {
namespace {

TEST(UserDefaultsTest, ValuesSurviveAndChangesOfAnotherProcessAreSeen) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("new/settings.conf"));
    FileUserDefaults defaults(path);
    EXPECT_FALSE(defaults.data(DefaultsKeys::recordingsFolderBookmark).has_value());
    const QByteArray bytes("/a,b; \"c\"\\ü\x01", 14);
    defaults.set(DefaultsKeys::recordingsFolderBookmark, bytes);
    defaults.set(DefaultsKeys::autoCreateNote, true);
    EXPECT_EQ(FileUserDefaults(path).data(DefaultsKeys::recordingsFolderBookmark), bytes);
    EXPECT_TRUE(FileUserDefaults(path).boolean(DefaultsKeys::autoCreateNote));

    QByteArray text = test::contentsOf(path);
    ASSERT_TRUE(text.contains("corvane.autoCreateNote=true"));
    test::makeFile(path, text.replace("corvane.autoCreateNote=true", "corvane.autoCreateNote=no, never"));
    EXPECT_FALSE(defaults.boolean(DefaultsKeys::autoCreateNote));

    defaults.remove(DefaultsKeys::recordingsFolderBookmark);
    EXPECT_FALSE(FileUserDefaults(path).data(DefaultsKeys::recordingsFolderBookmark).has_value());
}

TEST(UserDefaultsTest, BytesThatAreTextAreLegibleInTheFileAndOthersKeepTheirValue) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.conf"));
    const QString key = QStringLiteral("folder");
    const struct {
        QByteArray bytes;
        QByteArray inFile; ///< as far as it matters
    } rows[] = {
        {"/home/ada/M\u00fcller", "folder=/home/ada/M\u00fcller\n"},
        {"/a, b; \"c\" \\x41 ", "folder=\"/a, b"},
        {"@ByteArray(x)", "folder=@@ByteArray(x)\n"},
        {"", "folder=\n"},
        {"[{\"name\":\"\ufeffx\"}]\n", "name"},
        {"\ufeff/x", "x"},
        {"/M\xfcller", "folder=@ByteArray(/M"},
        {QByteArray("/a\0b", 4), "folder=@ByteArray(/a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes.constData());
        ASSERT_TRUE(FileUserDefaults(path).set(key, row.bytes));
        const QByteArray file = test::contentsOf(path);
        EXPECT_TRUE(file.contains(row.inFile)) << file.constData();
        // What has not been read yet in this process.
        const QString copy = test::makeFile(folder.filePath(QString::number(&row - rows)), file);
        EXPECT_EQ(FileUserDefaults(copy).data(key), row.bytes);
    }
}

TEST(UserDefaultsTest, WhatCannotBeStoredIsSaidAndDoesNotReadBack) {
    const QString key = QStringLiteral("key");
    const QTemporaryDir folder;
    QFile inTheWay(folder.filePath(QStringLiteral("quillet"))); // keeps everybody out, the superuser included
    ASSERT_TRUE(inTheWay.open(QFile::WriteOnly));
    FileUserDefaults defaults(inTheWay.fileName() + QStringLiteral("/settings.conf"));

    EXPECT_FALSE(defaults.set(key, QStringLiteral("new")));
    EXPECT_FALSE(defaults.string(key).has_value()) << "it would pass for stored in this process only";
    EXPECT_TRUE(defaults.remove(key)) << "nothing to remove";
    EXPECT_EQ(defaults.keys(), QStringList());
}

TEST(UserDefaultsTest, HandEditedValuesAreReadAsFarAsTheyMakeSense) {
    const QTemporaryDir folder;
    const FileUserDefaults defaults(
        test::makeFile(folder.filePath(QStringLiteral("settings.conf")),
                       "[General]\na=True\nb=On\nc=maybe\nd=one, two\ne=\nbroken line\n[Other\nf=2\n"));
    EXPECT_TRUE(defaults.boolean(QStringLiteral("a")));
    EXPECT_TRUE(defaults.boolean(QStringLiteral("b")));
    EXPECT_TRUE(defaults.boolean(QStringLiteral("c"), true));
    EXPECT_FALSE(defaults.boolean(QStringLiteral("c"), false));
    EXPECT_EQ(defaults.string(QStringLiteral("d")), QStringLiteral("one, two"));
    EXPECT_EQ(defaults.data(QStringLiteral("d")), QByteArray("one, two"));
    EXPECT_FALSE(defaults.string(QStringLiteral("missing")).has_value());
}

TEST(DateTextsTest, TheTimeZoneIsTheOneAtCreation) {
    const WallTime summer{std::chrono::seconds(1751322300)}; // 2025-06-30 22:25 UTC
    qputenv("TZ", "America/New_York");
    const DateFormatter newYork("yyyy-MM-dd_HH-mm", "en_US_POSIX");
    qputenv("TZ", "Asia/Kathmandu");
    const DateFormatter kathmandu("yyyy-MM-dd_HH-mm", "en_US_POSIX");
    EXPECT_EQ(newYork.format(summer), QStringLiteral("2025-06-30_18-25"));
    EXPECT_EQ(kathmandu.format(summer), QStringLiteral("2025-07-01_04-10"));
    EXPECT_EQ(iso8601(summer), QStringLiteral("2025-06-30T22:25:00Z"));

    // Whatever TZ says, names and dates carry what the C library makes of it, as every other program does.
    for (const char* zone : {"CET-1", "UTC+3", "/usr/share/zoneinfo/Asia/Tokyo", "Nowhere/Land", ":/etc/passwd"}) {
        qputenv("TZ", zone);
        tzset();
        const std::time_t seconds = std::chrono::system_clock::to_time_t(summer);
        char expected[20] = "";
        std::strftime(expected, sizeof expected, "%Y-%m-%d_%H-%M", std::localtime(&seconds));
        const QString pattern = QStringLiteral("yyyy-MM-dd_HH-mm");
        EXPECT_EQ(DateFormatter(pattern.toLatin1().constData(), "en_US_POSIX").format(summer).toStdString(), expected)
            << zone;
        const QDateTime there = QDateTime::fromSecsSinceEpoch(seconds, presentTimeZone());
        EXPECT_EQ(QLocale::c().toString(there, pattern).toStdString(), expected) << zone;
    }
    qunsetenv("TZ");
}

} // namespace
} // namespace quillet
