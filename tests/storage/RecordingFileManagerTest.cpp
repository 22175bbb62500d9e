#include "storage/RecordingFileManager.h"

#include "support/FakeFileServices.h"
#include "support/Files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <gmock/gmock.h>

namespace quillet {
namespace {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
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
    EXPECT_EQ(fs::status(url->parent_path()).permissions(), fs::perms::owner_all);
    EXPECT_FALSE(fs::exists(*url));
}

TEST_F(RecordingFileManagerTest, EachObstacleHasItsError) {
    using Free = std::optional<std::int64_t>;
    const fs::path recordings = *services.support / "Recordings";
    const QString none = u"none"_s, full = u"Not enough disk space to record. Free some space and try again."_s;
    const QString isFile = u"Recordings path exists but is not a directory."_s;
    const QString notThere = u"Recordings folder is not available."_s;
    const struct {
        const char* name;
        std::function<void()> arrange;
        QString first, fallback = first;
    } rows[] = {
        {"exactly enough", [&] { services.free = Free(104'857'600); }, none},
        {"one byte short", [&] { services.free = Free(104'857'599); }, full},
        {"a volume that does not say", [&] { services.free = Free(); }, none},
        {"a query that fails",
         [&] {
             services.free = Failure{PlatformError{5, u"I/O error"_s}};
         },
         u"I/O error"_s},
        {"a folder that cannot be made",
         [&] {
             services.free = Free(1LL << 40);
             services.creates = false;
             fs::remove_all(recordings);
         },
         u"Could not create Recordings folder: Permission denied"_s, u"Permission denied"_s},
        {"a file in its place", [&] { test::makeFile(recordings); }, isFile},
        {"no application folder", [&] { services.support.reset(); }, notThere},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.arrange();
        auto files = make();
        EXPECT_EQ(failure(files.generateFileURL()), row.first);
        EXPECT_EQ(failure(files.generateFileURLInApplicationSupport()), row.fallback);
    }
    EXPECT_EQ(make().recordingsDirectoryDisplayPath(), u"—"_s);
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
    for (const bool resolves : {false, true}) { // and is refused then
        SCOPED_TRACE(resolves);
        services.resolves = resolves;
        services.grantsAccess = !resolves;
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
