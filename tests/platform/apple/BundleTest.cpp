#include "support/Files.h"

#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

/// What stands behind the key in a property list: the text of an element or of its elements, or "true".
QString valueOf(const char* name, const QString& key) {
    QXmlStreamReader xml(contentsOf(QStringLiteral(QUILLET_PACKAGING "/") + QString::fromUtf8(name)));
    QString last, value;
    EXPECT_TRUE(xml.readNextStartElement() && xml.readNextStartElement());
    while (xml.readNextStartElement()) {
        const bool isTrue = xml.name() == u"true";
        const QString text = xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
        if (last == key) value = isTrue ? u"true"_s : text;
        last = text;
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return value;
}

/// Without its text the system ends the program the moment that it asks for the permission.
TEST(BundleTest, everyPermissionThatIsAskedForIsExplained) {
    for (const char* key : {"NSMicrophoneUsageDescription", "NSScreenCaptureUsageDescription",
                            "NSAudioCaptureUsageDescription", "NSAppleEventsUsageDescription"}) {
        EXPECT_GT(valueOf("Info.plist.in", QString::fromUtf8(key)).size(), 20) << key;
    }
    EXPECT_EQ(valueOf("Info.plist.in", u"LSUIElement"_s), u"true"_s) << "no icon in the Dock";
    EXPECT_EQ(valueOf("Info.plist.in", u"CFBundleExecutable"_s), u"quillet-tray"_s);
    EXPECT_EQ(valueOf("Info.plist.in", u"CFBundleIdentifier"_s), u"com.corvane.Quillet"_s);
}

TEST(BundleTest, theSandboxLeavesOpenWhatTheProgramDoes) {
    for (const char* what : {"app-sandbox", "device.audio-input", "automation.apple-events", "network.client",
                             "files.user-selected.read-write", "files.bookmarks.app-scope"}) {
        EXPECT_EQ(valueOf("Quillet.entitlements", u"com.apple.security."_s + QString::fromUtf8(what)), u"true"_s)
            << what;
    }
    EXPECT_EQ(valueOf("Quillet.entitlements", u"com.apple.security.temporary-exception.apple-events"_s),
              u"com.apple.Notes"_s);
}

} // namespace
} // namespace quillet::test
