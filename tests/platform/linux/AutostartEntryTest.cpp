#include "platform/linux/AutostartEntry.h"

#include "support/Files.h"
#include "support/WaitFor.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

class AutostartEntryTest : public testing::Test {
protected:
    const QTemporaryDir folder;
    std::filesystem::path base = folder.path().toStdString();
    std::filesystem::path file = base / "config" / "autostart" / "com.corvane.Quillet.desktop";
    std::filesystem::path program = makeProgram("quillet");
    AutostartEntry entry{base / "config" / "autostart", [this] { return program; }};

    std::filesystem::path makeProgram(const char* name) const {
        const auto path = test::makeFile(base / name, "#!/bin/sh\necho \"$0\" \"$@\"\n");
        QFile(path).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    QByteArray contents() const { return test::contentsOf(file); }
    void edit(const QByteArray& before, const QByteArray& after) const {
        test::makeFile(file, contents().replace(before, after));
    }
};

TEST_F(AutostartEntryTest, ThereIsAnEntryExactlyWhileTheItemIsRegistered) {
    EXPECT_FALSE(entry.isEnabled());
    EXPECT_TRUE(entry.unregisterItem()) << "nothing to remove is no failure";
    for (int time = 0; time < 2; ++time) {
        ASSERT_TRUE(entry.registerItem());
        EXPECT_TRUE(entry.isEnabled());
    }
    EXPECT_TRUE(contents().contains("\nTryExec=" + QByteArray::fromStdString(program.string()) + "\n"));
    ASSERT_TRUE(entry.unregisterItem());
    EXPECT_FALSE(entry.isEnabled());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(AutostartEntryTest, WhatAUserOrADesktopDidToTheEntryCounts) {
    const struct {
        const char* before;
        const char* after;
        bool enabled;
    } rows[] = {
        {"Terminal=false", "Hidden=true", false},
        {"Terminal=false", "  Hidden = true", false},
        {"Terminal=false", "Hidden=false", true},
        {"X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-enabled=false", false},
        {"X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-Delay=5", true},
        {"Terminal=false", "[Desktop Action x]\nHidden=true", true},
        {"[Desktop Entry]", "rubbish", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.after);
        ASSERT_TRUE(entry.registerItem());
        edit(row.before, row.after);
        EXPECT_EQ(entry.isEnabled(), row.enabled);
        const QByteArray asEdited = contents();
        entry.followProgram();
        EXPECT_EQ(contents(), asEdited) << "an entry for the right program stays as the user made it";
        ASSERT_TRUE(entry.registerItem());
        EXPECT_TRUE(entry.isEnabled());
    }
}

TEST_F(AutostartEntryTest, TheEntryFollowsAProgramThatMoves) {
    entry.followProgram();
    EXPECT_FALSE(entry.isEnabled()) << "nobody switched it on";
    ASSERT_TRUE(entry.registerItem());
    edit("Exec=\"", "Exec=env LANG=C \"");
    edit("Terminal=false", "X-GNOME-Autostart-Delay=5");
    const QByteArray asEdited = contents();
    const auto moveTo = [this](const char* name) {
        const auto before = std::exchange(program, makeProgram(name));
        entry.followProgram();
        EXPECT_FALSE(contents().contains(name)) << "another copy may just be tried";
        std::filesystem::remove(before);
        entry.followProgram();
    };
    moveTo("moved 1");
    EXPECT_EQ(contents(), QByteArray(asEdited).replace("/quillet", "/moved 1")) << "all else stays";
    moveTo("100 %");
    EXPECT_TRUE(contents().contains("\nExec=env \"") && contents().contains("/100 %%\" --autostarted\n"));
    moveTo("moved 2");
    EXPECT_TRUE(contents().contains("/moved 2\" --autostarted\n"));
    const QByteArray moved = contents();
    edit("TryExec=", "X-");
    moveTo("moved 3");
    EXPECT_FALSE(contents().contains("/moved 3")) << "what no longer names its program as we do is left alone";
    test::makeFile(file, moved);
    edit("X-GNOME-Autostart-enabled=true", "Hidden=true");
    moveTo("moved 4");
    EXPECT_FALSE(contents().contains("/moved 4")) << "what is switched off is left alone";

    program = base / "gone";
    ASSERT_FALSE(entry.registerItem()) << "a program that is not there cannot be started";
    EXPECT_FALSE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, ALinkToTheLauncherIsReplacedAndNotTheLauncher) {
    const auto launcher = test::makeFile(base / "launcher.desktop", "[Desktop Entry]\nExec=/moved/away %U\n");
    std::filesystem::create_directories(file.parent_path());
    std::filesystem::create_symlink(launcher, file);
    const QByteArray before = contents();
    entry.followProgram();
    EXPECT_EQ(contents(), before);
    ASSERT_TRUE(entry.registerItem());
    EXPECT_NE(contents(), before);
    EXPECT_EQ(test::contentsOf(launcher), before);
}

TEST_F(AutostartEntryTest, AFolderThatCannotBeMadeFailsAndLeavesNothing) {
    test::makeFile(base / "config"); // in the way
    const auto registered = entry.registerItem();
    ASSERT_FALSE(registered);
    EXPECT_FALSE(registered.error().description.isEmpty());
    EXPECT_FALSE(entry.isEnabled());
}

TEST_F(AutostartEntryTest, AnyPathIsStartedByTheDesktopsOwnRules) {
    if (QStandardPaths::findExecutable(u"gio"_s).isEmpty())
        GTEST_SKIP() << "gio, which starts desktop files, is not installed";
    for (const char* name :
         {"plain", "with space", "per%cent %f", "quo\"te", "back\\slash", "dol$HOME`lar", "ümläut"}) {
        SCOPED_TRACE(name);
        program = makeProgram(name);
        ASSERT_TRUE(entry.registerItem());
        const auto started = base / "started";
        test::makeFile(program,
                       "#!/bin/sh\nprintf '%s' \"$*\" > '" + QByteArray::fromStdString(started.string()) + "'\n");
        ASSERT_EQ(QProcess::execute(u"gio"_s, {u"launch"_s, QString::fromStdString(file.string())}), 0);
        EXPECT_TRUE(test::waitFor([&] { return QFile(started).size() > 0; }));
        EXPECT_EQ(test::contentsOf(started), QByteArray(kStartedAtLoginArgument));
        std::filesystem::remove(started);
    }
}

} // namespace
} // namespace quillet
