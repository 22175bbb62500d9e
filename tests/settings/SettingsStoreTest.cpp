#include "SettingsTestSupport.h"

#include <QElapsedTimer>

namespace quillet::test {
namespace {

using testing::ElementsAre;

using SettingsStoreTest = SettingsFixture;

TEST_F(SettingsStoreTest, ABurstOfRequestsMakesOneListingThreeTenthsOfASecondAfterTheLast) {
    notes->folders = {u"A"_s, u"B"_s};
    notes->asks = true;
    makeStore();
    EXPECT_FALSE(store->isLoadingFolders.value()) << "nobody is let in yet, so nothing is asked for";
    permissions->automationStatus.set(PermissionStatus::Granted);

    store->refreshFolders();
    for (int request = 0; request < 2; ++request) {
        EXPECT_FALSE(waitFor([this] { return notes->folderCalls > 0 || !store->isLoadingFolders.value(); }, 100));
        store->refreshFolders();
    }
    QElapsedTimer sinceLast;
    sinceLast.start();
    ASSERT_TRUE(waitFor([this] { return notes->folderCalls > 0; }));
    EXPECT_GE(sinceLast.elapsed(), 295);
    ASSERT_TRUE(settle());
    EXPECT_THAT(store->availableFolders.value(), ElementsAre(u"A"_s, u"B"_s));
    EXPECT_FALSE(store->notesFoldersLoadFailed.value());
    EXPECT_FALSE(waitFor([this] { return notes->folderCalls > 1; }, 400));

    notes->folders.clear();
    store->refreshFolders();
    EXPECT_EQ(store->availableFolders.value().size(), 2U) << "the old list stays while a new one is fetched";
    ASSERT_TRUE(settle());
    EXPECT_TRUE(store->availableFolders.value().empty());
    EXPECT_TRUE(store->notesFoldersLoadFailed.value());
}

TEST_F(SettingsStoreTest, AListingUnderWayNeitherKeepsTheStoreNorFindsIt) {
    notes->folders = {QStringLiteral("A")};
    notes->hold(FakeNotesApplication::Call::Folders);
    makeStore();
    EXPECT_TRUE(store->isLoadingFolders.value()) << "let in from the start, the folders are listed at once";
    ASSERT_TRUE(waitFor([this] { return notes->folderCalls == 1; }));
    const std::weak_ptr<SettingsStore> weak = store;
    store.reset();
    EXPECT_TRUE(weak.expired());
    notes->goOn.release();
}

TEST_F(SettingsStoreTest, TheRecordingsFolderIsTheOneChosenAndACancelledChoiceChangesNothing) {
    const QTemporaryDir folder;
    const std::filesystem::path chosen = folder.path().toStdString();
    makeStore();
    const QString before = store->recordingPath.value();
    store->chooseRecordingsFolder();
    ASSERT_EQ(chooser.questions.size(), 1U);
    EXPECT_FALSE(chooser.questions[0].startFolder) << "the default folder is not there yet";
    chooser.answer(std::nullopt);
    processEvents();
    EXPECT_EQ(store->recordingPath.value(), before);
    EXPECT_FALSE(files->resolvedCustomDirectoryURL());

    ASSERT_TRUE(files->ensureRecordingsDirectoryExists());
    store->chooseRecordingsFolder();
    EXPECT_EQ(chooser.questions[1].startFolder, files->defaultRecordingsDirectoryURL());
    chooser.answer(chosen);
    EXPECT_EQ(files->resolvedCustomDirectoryURL(), chosen);
    ASSERT_TRUE(waitFor([&] { return store->recordingPath.value() == folder.path(); }));

    store->chooseRecordingsFolder();
    EXPECT_EQ(chooser.questions[2].startFolder, chosen);
    store.reset();
    chooser.answer(chosen / "other");
    processEvents();
    EXPECT_EQ(files->resolvedCustomDirectoryURL(), chosen / "other") << "the choice counts without the window, too";
}

} // namespace
} // namespace quillet::test
