#include <QFile>
#include <QMap>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

/// The top level of a property list: each key with its text, its elements' texts, or "true".
QMap<QString, QString> propertyList(const char* name) {
    QFile file(QStringLiteral(QUILLET_PACKAGING "/") + QString::fromUtf8(name));
    EXPECT_TRUE(file.open(QFile::ReadOnly)) << name;
    QXmlStreamReader xml(&file);
    QMap<QString, QString> values;
    QString key;
    EXPECT_TRUE(xml.readNextStartElement() && xml.name() == QLatin1String("plist"));
    EXPECT_TRUE(xml.readNextStartElement() && xml.name() == QLatin1String("dict"));
    while (xml.readNextStartElement()) {
        const QString element = xml.name().toString();
        const QString text = xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
        if (element == QLatin1String("key")) {
            EXPECT_FALSE(values.contains(text)) << text.toStdString() << " twice";
            key = text;
        } else {
            values.insert(key, element == QLatin1String("true") ? element : text);
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return values;
}

/// Without its text the system ends the program the moment that it asks for the permission.
TEST(BundleTest, everyPermissionThatIsAskedForIsExplained) {
    const auto info = propertyList("Info.plist.in");
    for (const char* key : {"NSMicrophoneUsageDescription", "NSScreenCaptureUsageDescription",
                            "NSAudioCaptureUsageDescription", "NSAppleEventsUsageDescription"}) {
        EXPECT_GT(info.value(QString::fromUtf8(key)).size(), 20) << key;
    }
    EXPECT_EQ(info.value(QStringLiteral("LSUIElement")), QStringLiteral("true")) << "no icon in the Dock";
    EXPECT_EQ(info.value(QStringLiteral("CFBundleExecutable")), QStringLiteral("quillet-tray"));
    EXPECT_EQ(info.value(QStringLiteral("CFBundleIdentifier")), QStringLiteral("com.corvane.Quillet"));
}

TEST(BundleTest, theSandboxLeavesOpenWhatTheProgramDoes) {
    const auto entitlements = propertyList("Quillet.entitlements");
    for (const char* what : {"app-sandbox", "device.audio-input", "automation.apple-events", "network.client",
                             "files.user-selected.read-write", "files.bookmarks.app-scope"}) {
        EXPECT_EQ(entitlements.value(QStringLiteral("com.apple.security.") + QString::fromUtf8(what)),
                  QStringLiteral("true"))
            << what;
    }
    EXPECT_EQ(entitlements.value(QStringLiteral("com.apple.security.temporary-exception.apple-events")),
              QStringLiteral("com.apple.Notes"));
}

} // namespace
} // namespace quillet::test
