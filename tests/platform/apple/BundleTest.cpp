#include "support/Files.h"

#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <string>

namespace quillet::test {
namespace {

/// What stands behind the key in a property list: the text of an element or of its elements, or "true".
std::string valueOf(const std::string& name, const std::string& key) {
    QXmlStreamReader xml(contentsOf(QString::fromStdString(QUILLET_PACKAGING "/" + name)));
    std::string last, value;
    EXPECT_TRUE(xml.readNextStartElement() && xml.readNextStartElement());
    while (xml.readNextStartElement()) {
        const bool isTrue = xml.name() == u"true";
        const auto text = xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed().toStdString();
        if (last == key) value = isTrue ? "true" : text;
        last = text;
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return value;
}

/// Without its text the system ends the program the moment that it asks for the permission.
TEST(BundleTest, everyPermissionThatIsAskedForIsExplained) {
    for (const char* key : {"NSMicrophoneUsageDescription", "NSScreenCaptureUsageDescription",
                            "NSAudioCaptureUsageDescription", "NSAppleEventsUsageDescription"})
        EXPECT_GT(valueOf("Info.plist.in", key).size(), 20U) << key;
    EXPECT_EQ(valueOf("Info.plist.in", "LSUIElement"), "true") << "no icon in the Dock";
    EXPECT_EQ(valueOf("Info.plist.in", "CFBundleExecutable"), "quillet-tray");
    EXPECT_EQ(valueOf("Info.plist.in", "CFBundleIdentifier"), "com.corvane.Quillet");
}

TEST(BundleTest, theSandboxLeavesOpenWhatTheProgramDoes) {
    const std::string rights = "com.apple.security.";
    for (const char* what : {"app-sandbox", "device.audio-input", "automation.apple-events", "network.client",
                             "files.user-selected.read-write", "files.bookmarks.app-scope"})
        EXPECT_EQ(valueOf("Quillet.entitlements", rights + what), "true") << what;
    EXPECT_EQ(valueOf("Quillet.entitlements", rights + "temporary-exception.apple-events"), "com.apple.Notes");
}

} // namespace
} // namespace quillet::test
