#include "storage/RecordingFileManager.h"

#include "support/FakeFileServices.h"
#include "support/Files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace quillet {
namespace {

namespace fs = std::filesystem;
using test::FakeFileServices;

class RecordingFileManagerTest : public testing::Test {
protected:
    RecordingFileManagerTest() {
        qputenv("TZ", "Europe/Berlin");
        services.support = root() / "data" / "quillet";
        services.home = root();
    }
    ~RecordingFileManagerTest() override { qunsetenv("TZ"); }

    fs::path root() const { return temporary.path().toStdString(); }
    RecordingFileManager make() {
        return RecordingFileManager(services, defaults, [this] { return now; });
    }
    static QString failure(const Result<fs::path, StorageError>& result) {
        return result ? QStringLiteral("none") : localizedDescription(result.error());
    }

    QTemporaryDir temporary;
    FakeFileServices services;
    MemoryUserDefaults defaults;
    WallTime now{std::chrono::seconds(1741939545)}; // 2025-03-14 08:05:45 UTC
};

TEST_F(RecordingFileManagerTest, NamesCarryTheLocalMinuteAndTheFolderIsMadeForItsOwnerOnly) {
    auto files = make();
    const auto url = files.generateFileURL();
    ASSERT_TRUE(url);
    EXPECT_EQ(*url, *services.support / "Recordings" / "Meeting_2025-03-14_09-05.m4a");
    now += std::chrono::seconds(14);
    EXPECT_EQ(files.generateFileURL().value(), *url) << "the same minute, the same name";
    now += std::chrono::seconds(1);
    EXPECT_EQ(files.generateFileURLInApplicationSupport()->filename(), "Meeting_2025-03-14_09-06.m4a");
    struct stat made {};
    ASSERT_EQ(stat(url->parent_path().c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 0777, 0700U);
    EXPECT_FALSE(fs::exists(*url));
}

TEST_F(RecordingFileManagerTest, EachObstacleHasItsError) {
    const fs::path recordings = *services.support / "Recordings";
    const QString full = QStringLiteral("Not enough disk space to record. Free some space and try again.");
    const struct {
        const char* name;
        std::function<void()> arrange;
        QString first, fallback; ///< "none": no error
    } rows[] = {
        {"exactly enough", [&] { services.free = std::optional<std::int64_t>(104'857'600); }, QStringLiteral("none"),
         QStringLiteral("none")},
        {"one byte short", [&] { services.free = std::optional<std::int64_t>(104'857'599); }, full, full},
        {"a volume that does not say", [&] { services.free = std::optional<std::int64_t>(); }, QStringLiteral("none"),
         QStringLiteral("none")},
        {"a query that fails",
         [&] {
             services.free = Failure{PlatformError{5, QStringLiteral("I/O error")}};
         },
         QStringLiteral("I/O error"), QStringLiteral("I/O error")},
        {"a folder that cannot be made",
         [&] {
             services.free = std::optional<std::int64_t>(1LL << 40);
             services.creates = false;
             fs::remove_all(recordings);
         },
         QStringLiteral("Could not create Recordings folder: Permission denied"), QStringLiteral("Permission denied")},
        {"a file in its place",
         [&] {
             services.creates = true;
             test::makeFile(recordings);
         },
         QStringLiteral("Recordings path exists but is not a directory."),
         QStringLiteral("Recordings path exists but is not a directory.")},
        {"no application folder", [&] { services.support.reset(); },
         QStringLiteral("Recordings folder is not available."), QStringLiteral("Recordings folder is not available.")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.arrange();
        auto files = make();
        EXPECT_EQ(failure(files.generateFileURL()), row.first);
        EXPECT_EQ(failure(files.generateFileURLInApplicationSupport()), row.fallback);
    }
    EXPECT_EQ(make().recordingsDirectoryDisplayPath(), QStringLiteral("—"));
}

TEST_F(RecordingFileManagerTest, TheChosenFolderIsFoundAgainAtTheNextStart) {
    const fs::path chosen = root() / "Gespräche mit / ohne" / "Ton";
    {
        auto files = make();
        files.setCustomRecordingsDirectory(chosen);
        EXPECT_EQ(files.generateFileURL()->parent_path(), chosen);
        EXPECT_EQ(files.generateFileURLInApplicationSupport()->parent_path(), *services.support / "Recordings");
        EXPECT_EQ(files.recordingsDirectoryDisplayPath(), QStringLiteral("~/Gespräche mit / ohne/Ton"));
        services.home = root() / ""; // as people write it in HOME
        EXPECT_EQ(files.recordingsDirectoryDisplayPath(), QStringLiteral("~/Gespräche mit / ohne/Ton"));
        services.home = "//";
        EXPECT_EQ(files.recordingsDirectoryDisplayPath(), QString::fromStdString(chosen.string()));
    }
    services.stale = true;
    defaults.set(DefaultsKeys::recordingsFolderBookmark, QByteArray("bookmark:" + QByteArray(chosen.c_str())));
    auto next = make();
    EXPECT_EQ(next.resolvedCustomDirectoryURL(), chosen);

    services.journal.clear();
    next.setCustomRecordingsDirectory(root() / "other");
    next.setCustomRecordingsDirectory(std::nullopt);
    EXPECT_THAT(services.journal, testing::ElementsAre("stop Ton", "start other", "stop other"));
    EXPECT_FALSE(defaults.data(DefaultsKeys::recordingsFolderBookmark).has_value());
    EXPECT_EQ(next.generateFileURL()->parent_path(), *services.support / "Recordings");
}

TEST_F(RecordingFileManagerTest, ABookmarkThatFailsLeavesTheDefaultFolderAndStaysStored) {
    const struct {
        const char* name;
        bool resolves, grants;
    } rows[] = {{"does not resolve", false, true}, {"is refused", true, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        services.resolves = row.resolves;
        services.grantsAccess = row.grants;
        defaults.set(DefaultsKeys::recordingsFolderBookmark, QByteArray("bookmark:/somewhere"));
        auto files = make();
        EXPECT_FALSE(files.resolvedCustomDirectoryURL().has_value());
        EXPECT_EQ(defaults.data(DefaultsKeys::recordingsFolderBookmark), QByteArray("bookmark:/somewhere"));
    }
    auto files = make();
    files.setCustomRecordingsDirectory(root() / "chosen"); // stored before access is tried, and refused
    EXPECT_FALSE(files.resolvedCustomDirectoryURL().has_value());
    EXPECT_TRUE(defaults.data(DefaultsKeys::recordingsFolderBookmark)->endsWith("chosen"));
}

TEST_F(RecordingFileManagerTest, TheFileManagerIsOnlyShownWhatExists) {
    auto files = make();
    files.openRecordingsFolderInFinder();
    files.showInFinderSelecting(root() / "nothing.m4a");
    EXPECT_TRUE(services.journal.empty());
    ASSERT_TRUE(files.generateFileURL());
    files.openRecordingsFolderInFinder();
    files.showInFinderSelecting(*services.support);
    EXPECT_THAT(services.journal, testing::ElementsAre("open Recordings", "reveal quillet"));
}

TEST_F(RecordingFileManagerTest, TheLogGrowsByALinePerRecording) {
    auto files = make();
    files.appendToTestLog(now, "/a/Meeting 1.m4a");
    files.appendToTestLog(now + std::chrono::seconds(75), "/b/Ü.m4a");
    EXPECT_EQ(test::contentsOf(*services.support / "test_log.txt"),
              QByteArray("2025-03-14T08:05:45Z /a/Meeting 1.m4a\n2025-03-14T08:07:00Z /b/Ü.m4a\n"));
}

} // namespace
} // namespace quillet
