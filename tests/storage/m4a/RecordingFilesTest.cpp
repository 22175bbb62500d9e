#include "platform/RecordingFiles.h"

#include "storage/m4a/TestRecordings.h"
#include "support/ThreadConditions.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/syscall.h>

namespace quillet::test {
namespace {

using Names = std::vector<std::string>;
constexpr auto kOwnersOnly = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;

TEST(RecordingFilesTest, newFileBelongsToItsOwnerOnlyAndOldOnesStepAside) {
    const TemporaryFolder folder;
    umask(0);
    Names told;
    const auto tell = [&told](const std::filesystem::path& earlier) { told.push_back(earlier.filename()); };
    for (const std::string_view content : {"first", "second", "third"}) {
        const auto file = createRecordingFile(folder / "a.m4a", tell);
        ASSERT_TRUE(file.ok()) << file.error().description.toStdString();
        ASSERT_TRUE((*file)->writeAt(0, bytesOf(content)).ok());
    }
    umask(022);

    EXPECT_EQ(folder.names(), (Names{"a (earlier 2).m4a", "a (earlier).m4a", "a.m4a"}));
    EXPECT_EQ(told, (Names{"a (earlier).m4a", "a (earlier 2).m4a"}));
    EXPECT_EQ(readFile(folder / "a (earlier).m4a"), bytesOf("first"));
    EXPECT_EQ(readFile(folder / "a (earlier 2).m4a"), bytesOf("second"));
    for (const std::string& name : folder.names())
        EXPECT_EQ(std::filesystem::status(folder / name).permissions(), kOwnersOnly);
}

TEST(RecordingFilesTest, whatIsBeingWrittenIsNeverMovedNorRepaired) {
    const TemporaryFolder folder;
    auto first = createRecordingFile(folder / "a.m4a");
    ASSERT_TRUE(first.ok());

    const auto second = createRecordingFile(folder / "a.m4a");
    ASSERT_FALSE(second.ok());
    EXPECT_EQ(second.error().code, EBUSY);
    EXPECT_EQ(folder.names(), Names{"a.m4a"});
    EXPECT_EQ(glanceAtRecording(folder / "a.m4a", 10)->kind, RecordingGlance::Kind::BeingWritten);
    EXPECT_EQ(openRecordingForRepair(folder / "a.m4a")->kind, RecordingForRepair::Kind::BeingWritten);

    first->reset();
    const auto repair = openRecordingForRepair(folder / "a.m4a");
    EXPECT_EQ(repair->kind, RecordingForRepair::Kind::Ready);
    EXPECT_EQ(openRecordingForRepair(folder / "a.m4a")->kind, RecordingForRepair::Kind::BeingRepaired);
}

TEST(RecordingFilesTest, aFileMadeByALibraryIsProtectedTheSameWay) {
    const TemporaryFolder folder;
    ASSERT_TRUE(setAsideEarlierRecording(folder / "a.m4a").ok()) << "there is nothing to set aside";
    EXPECT_FALSE(markAsBeingWritten(folder / "a.m4a").ok());
    writeFile(folder / "a.m4a", bytesOf("old"));
    ASSERT_TRUE(setAsideEarlierRecording(folder / "a.m4a").ok());
    EXPECT_EQ(folder.names(), Names{"a (earlier).m4a"});

    writeFile(folder / "a.m4a", bytesOf("new"));
    auto mark = markAsBeingWritten(folder / "a.m4a");
    ASSERT_TRUE(mark.ok());
    EXPECT_EQ(std::filesystem::status(folder / "a.m4a").permissions(), kOwnersOnly);
    EXPECT_EQ(openRecordingForRepair(folder / "a.m4a")->kind, RecordingForRepair::Kind::BeingWritten);
    EXPECT_EQ(setAsideEarlierRecording(folder / "a.m4a").error().code, EBUSY);
    EXPECT_FALSE(markAsBeingWritten(folder / "a.m4a").ok());

    mark->reset();
    EXPECT_EQ(openRecordingForRepair(folder / "a.m4a")->kind, RecordingForRepair::Kind::Ready);
}

TEST(RecordingFilesTest, aFailedCreationLeavesNothing) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "full");
    const std::string tooLong(300, 'x');
    for (const std::filesystem::path& path :
         {folder / "missing" / "a.m4a", folder / (tooLong + ".m4a"), folder.path() / "", folder / "full/.." / ""}) {
        EXPECT_FALSE(createRecordingFile(path).ok()) << path;
    }
    EXPECT_EQ(folder.names(), Names{"full"});
}

TEST(RecordingFilesTest, removingSparesAnotherFileOfTheSameName) {
    const TemporaryFolder folder;
    auto moved = createRecordingFile(folder / "a.m4a");
    ASSERT_TRUE(moved.ok());
    std::filesystem::rename(folder / "a.m4a", folder / "b.m4a");
    auto present = createRecordingFile(folder / "a.m4a");
    ASSERT_TRUE(present.ok());

    (*moved)->remove();
    EXPECT_EQ(folder.names(), (Names{"a.m4a", "b.m4a"}));
    (*present)->remove();
    EXPECT_EQ(folder.names(), Names{"b.m4a"});
}

TEST(RecordingFilesTest, reserveTakesSpaceUntilTheFileIsCut) {
    const TemporaryFolder folder;
    auto file = createRecordingFile(folder / "a.m4a");
    ASSERT_TRUE(file.ok());
    ASSERT_TRUE((*file)->writeAt(0, bytesOf("sound")).ok());
    const auto look = [&folder] {
        struct stat status {};
        EXPECT_EQ(stat((folder / "a.m4a").c_str(), &status), 0);
        return status;
    };
    const auto before = look();
    ASSERT_TRUE((*file)->reserve(1 << 20).ok());
    if (look().st_blocks == before.st_blocks) GTEST_SKIP() << "this file system reserves nothing";
    EXPECT_EQ(look().st_size, 5);
    ASSERT_TRUE((*file)->truncate(5).ok());
    EXPECT_LE(look().st_blocks * 512, 8192);
}

TEST(RecordingFilesTest, olderFileSystemsLoseNothingEither) {
    const FailingCall noCarefulRename{__NR_renameat2, EINVAL};
    const FailingCall noHardLinks{__NR_linkat, EPERM};
    for (const auto& lacking : {std::vector{noCarefulRename}, std::vector{noCarefulRename, noHardLinks}}) {
        const TemporaryFolder folder;
        writeFile(folder / "a.m4a", bytesOf("old"));
        writeFile(folder / "a (earlier).m4a", bytesOf("older"));
        const std::string failure = runWithFailingCalls(lacking, [&folder] {
            const auto file = createRecordingFile(folder / "a.m4a");
            EXPECT_TRUE(file.ok() && (*file)->writeAt(0, bytesOf("new")).ok());
            EXPECT_FALSE(createRecordingFile(folder / "a.m4a").ok()) << "it is being written";
        });
        if (!failure.empty()) GTEST_SKIP() << failure;
        EXPECT_EQ(folder.names(), (Names{"a (earlier 2).m4a", "a (earlier).m4a", "a.m4a"}));
        EXPECT_EQ(readFile(folder / "a (earlier 2).m4a"), bytesOf("old"));
        EXPECT_EQ(readFile(folder / "a (earlier).m4a"), bytesOf("older"));
        EXPECT_EQ(readFile(folder / "a.m4a"), bytesOf("new"));
    }
}

} // namespace
} // namespace quillet::test
