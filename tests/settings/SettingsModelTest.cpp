#include "SettingsTestSupport.h"

#include <gmock/gmock.h>
#include <thread>

namespace quillet::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using AccessRow = SettingsModel::AccessRow;
using FoldersRemark = SettingsModel::FoldersRemark;

using SettingsModelTest = SettingsFixture;

TEST_F(SettingsModelTest, AppearingReadsEverythingAfresh) {
    makeModel();
    ASSERT_TRUE(settle());
    const int listings = notes->folderCalls;
    const int asked = systemModel.asked;
    files->setCustomRecordingsDirectory("/nowhere/at/all");
    defaults.set(DefaultsKeys::notesFolderName, QStringLiteral("Work"));
    launches = true;
    services->screenCapture = false;
    model->appeared();
    EXPECT_EQ(store->recordingPath.value(), QStringLiteral("/nowhere/at/all"));
    EXPECT_EQ(model->selectedNotesFolder.value(), QStringLiteral("Work"));
    EXPECT_TRUE(model->launchAtLogin.value());
    EXPECT_TRUE(launchChanges.empty()) << "reading is no change";
    EXPECT_EQ(permissions->screenCaptureStatus.value(), PermissionStatus::Denied);
    EXPECT_EQ(systemModel.asked, asked + 1);
    ASSERT_TRUE(waitFor([&] { return notes->folderCalls > listings; }));
    ASSERT_TRUE(settle());

    model->useDefaultRecordingsFolder();
    EXPECT_FALSE(files->resolvedCustomDirectoryURL());
    EXPECT_EQ(store->recordingPath.value(), files->recordingsDirectoryDisplayPath());
}

TEST_F(SettingsModelTest, TheUserIsAskedUnwishedOnlyByAnApplicationThatAsksOnce) {
    const struct {
        const char* name;
        bool available, asks, asksOnce, isRequested;
    } rows[] = {
        {"the system asks once and keeps the answer", true, true, true, true},
        {"a dialog each time", true, true, false, false},
        {"nobody is asked", true, false, true, true},
        {"not installed", false, true, true, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        notes->available = row.available;
        notes->asks = row.asks;
        notes->asksOnce = row.asksOnce;
        notes->requests = 0;
        defaults.remove(DefaultsKeys::automationPromptAttempted);
        makeModel();
        model->appeared();
        EXPECT_TRUE(store->isLoadingFolders.value()) << "the folders are listed in any case";
        ASSERT_TRUE(settle());
        ASSERT_TRUE(waitFor([&] { return notes->requests == (row.isRequested ? 1 : 0); }));
        EXPECT_EQ(defaults.boolean(DefaultsKeys::automationPromptAttempted), row.isRequested);
    }
}

TEST_F(SettingsModelTest, WhatIsSaidAboutAccessAndFolders) {
    const struct {
        const char* name;
        bool asks;
        PermissionStatus status;
        bool failed;
        AccessRow row;
        FoldersRemark remark;
    } rows[] = {
        {"fresh vault", false, PermissionStatus::Granted, true, AccessRow::None, FoldersRemark::NoFoldersYet},
        {"vault with folders", false, PermissionStatus::Granted, false, AccessRow::None, FoldersRemark::None},
        {"unusable vault", false, PermissionStatus::Denied, true, AccessRow::FolderUnusable, FoldersRemark::LoadFailed},
        {"not asked", true, PermissionStatus::NotDetermined, true, AccessRow::AskForAccess, FoldersRemark::LoadFailed},
        {"refused", true, PermissionStatus::Denied, true, AccessRow::AskForAccess, FoldersRemark::LoadFailed},
        {"let in, no list", true, PermissionStatus::Granted, true, AccessRow::None, FoldersRemark::LoadFailed},
    };
    makeModel();
    ASSERT_TRUE(settle());
    ASSERT_TRUE(waitFor([this] { return notes->probes > 0; }));
    processEvents();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        notes->asks = row.asks;
        permissions->automationStatus.set(row.status);
        store->notesFoldersLoadFailed.set(row.failed);
        EXPECT_EQ(model->accessRow(), row.row);
        EXPECT_EQ(model->foldersRemark(), row.remark);
    }
}

TEST_F(SettingsModelTest, AllowingListsTheFoldersOrShowsThePlaceInTheSettings) {
    notes->asks = true;
    makeModel();
    for (const bool answer : {true, false}) {
        SCOPED_TRACE(answer);
        notes->answer = answer;
        const auto before = services->opened.size();
        model->allowAccess();
        EXPECT_TRUE(permissions->isAskingForAutomation.value());
        ASSERT_TRUE(waitFor([this] { return !permissions->isAskingForAutomation.value(); }));
        EXPECT_EQ(store->isLoadingFolders.value(), answer);
        EXPECT_EQ(services->opened.size(), before + (answer ? 0 : 1));
        EXPECT_EQ(model->accessWasRefused.value(), !answer);
        ASSERT_TRUE(settle());
    }
}

TEST_F(SettingsModelTest, TheFoldersToChooseFromKeepTheChosenOne) {
    makeModel();
    ASSERT_TRUE(settle());
    const auto options = [this] { return model->notesFolderOptions().join(QLatin1Char('|')).toStdString(); };
    EXPECT_EQ(options(), "");
    store->availableFolders.set({QStringLiteral("A"), QStringLiteral("B")});
    EXPECT_EQ(options(), "|A|B");
    model->selectNotesFolder(QStringLiteral("B"));
    EXPECT_EQ(options(), "|A|B");
    model->selectNotesFolder(QStringLiteral("New"));
    EXPECT_EQ(options(), "|New|A|B");
    EXPECT_EQ(integrator->folderNameOfSettings(), QStringLiteral("New"));
    model->selectNotesFolder({});
    EXPECT_EQ(integrator->folderNameOfSettings(), QString());
}

TEST_F(SettingsModelTest, ANewFolderIsANameOnlyAndNeverBlank) {
    makeModel();
    ASSERT_TRUE(settle());
    const struct {
        const char* typed;
        const char* stored; ///< null: cannot be created
    } rows[] = {{"", nullptr}, {" \t\n ", nullptr}, {"  Team \n", "Team"}, {"ü/“x”", "ü/“x”"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.typed);
        model->selectNotesFolder(QStringLiteral("before"));
        model->openNewFolderSheet();
        model->newFolderName.set(QString::fromUtf8(row.typed));
        EXPECT_EQ(model->canCreateFolder(), row.stored != nullptr);
        model->createFolder();
        EXPECT_EQ(model->selectedNotesFolder.value(), QString::fromUtf8(row.stored ? row.stored : "before"));
        EXPECT_EQ(model->showNewFolderSheet.value(), row.stored == nullptr);
        EXPECT_EQ(store->isLoadingFolders.value(), row.stored != nullptr);
        ASSERT_TRUE(settle());
        model->cancelNewFolder();
        EXPECT_TRUE(model->newFolderName.value().isEmpty());
        EXPECT_FALSE(model->showNewFolderSheet.value());
    }
}

TEST_F(SettingsModelTest, TheLoginSwitchShowsWhatTheUserSet) {
    makeModel();
    ASSERT_TRUE(settle());
    model->setLaunchAtLogin(true);
    EXPECT_TRUE(model->launchAtLogin.value()) << "also where the system did not obey";
    model->setLaunchAtLogin(false);
    EXPECT_THAT(launchChanges, ElementsAre(true, false));
}

class ChoicesTest : public SettingsFixture {
protected:
    std::shared_ptr<NotesChoiceModel> makeNotesChoice() {
        makeStore();
        return makeChoice();
    }
    std::shared_ptr<NotesChoiceModel> makeChoice() {
        return std::make_shared<NotesChoiceModel>(defaults, "/home/of/notes", chooser.function(), permissions, store);
    }
};

TEST_F(ChoicesTest, AnotherNotesApplicationIsFoundOutAboutAnew) {
    const auto choice = makeNotesChoice();
    ASSERT_TRUE(settle());
    ASSERT_TRUE(waitFor([this] { return defaults.boolean(DefaultsKeys::automationGrantedCached); }));
    defaults.set(DefaultsKeys::automationPromptAttempted, true);
    EXPECT_EQ(choice->application.value(), NotesChoiceModel::Application::Vault);

    notes->asks = true;
    choice->setApplication(NotesChoiceModel::Application::Joplin);
    EXPECT_EQ(defaults.string(DefaultsKeys::notesApplication), QStringLiteral("joplin"));
    EXPECT_EQ(permissions->automationStatus.value(), PermissionStatus::NotDetermined)
        << "what the vault allowed says nothing about the other one";
    EXPECT_TRUE(store->isLoadingFolders.value());
    ASSERT_TRUE(settle());

    choice->setApplication(NotesChoiceModel::Application::Joplin);
    EXPECT_FALSE(store->isLoadingFolders.value()) << "the same again changes nothing";
}

TEST_F(ChoicesTest, AnApplicationThatIsLeftIsNotWaitedForAndItsAnswerChangesNothing) {
    defaults.set(DefaultsKeys::notesApplication, QStringLiteral("joplin"));
    notes->asks = true;
    notes->answer = false;
    std::atomic<bool> isCancelled = false;
    notes->duringCall = [&] {
        while (notes->requests > 0 && !isCancelled) std::this_thread::yield();
    };
    notes->onCancel = [&] {
        isCancelled = defaults.string(DefaultsKeys::notesApplication) == QStringLiteral("joplin");
    };
    makeModel();
    const auto choice = makeChoice();
    model->allowAccess();
    ASSERT_TRUE(waitFor([this] { return notes->requests == 1; }));

    notes->asks = false; // the vault
    choice->setApplication(NotesChoiceModel::Application::Vault);
    std::vector<PermissionStatus> published;
    QObject context;
    permissions->automationStatus.subscribe(&context, [&](PermissionStatus status) { published.push_back(status); });
    EXPECT_TRUE(waitFor([&] { return published.size() == 2; }));
    EXPECT_THAT(published, Each(PermissionStatus::Granted));
    EXPECT_TRUE(defaults.boolean(DefaultsKeys::automationGrantedCached));
    EXPECT_FALSE(permissions->isAskingForAutomation.value());
    EXPECT_FALSE(model->accessWasRefused.value());
    EXPECT_TRUE(services->opened.empty()) << "a window out of nothing";
    isCancelled = true;
    ASSERT_TRUE(settle());
}

TEST_F(ChoicesTest, ALateAnswerOfTheApplicationBeforeDoesNotReplaceTheFolders) {
    notes->folders = {QStringLiteral("Of the other one")};
    std::atomic<bool> goOn = false;
    notes->duringCall = [&] {
        if (notes->folderCalls != 1) return; // the first listing, and no other
        while (!goOn) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    const auto choice = makeNotesChoice();
    ASSERT_TRUE(waitFor([this] { return notes->folderCalls == 1; }));

    notes->folders = {QStringLiteral("Work")};
    choice->setApplication(NotesChoiceModel::Application::Joplin);
    ASSERT_TRUE(settle());
    goOn = true;
    ASSERT_TRUE(waitFor([this] { return notes.use_count() == 3; }));
    processEvents();
    EXPECT_THAT(store->availableFolders.value(), ElementsAre(QStringLiteral("Work")));
    EXPECT_FALSE(store->notesFoldersLoadFailed.value());
}

TEST_F(ChoicesTest, TheVaultsFolder) {
    const auto choice = makeNotesChoice();
    EXPECT_TRUE(choice->isDefaultVault());
    EXPECT_EQ(choice->vaultPath.value(), QStringLiteral("/home/of/notes"));
    choice->chooseVaultFolder();
    EXPECT_EQ(chooser.questions[0].startFolder, "/home/of/notes");
    chooser.answer(std::nullopt);
    EXPECT_TRUE(choice->isDefaultVault());
    permissions->automationStatus.set(PermissionStatus::Denied);
    choice->chooseVaultFolder();
    EXPECT_FALSE(chooser.questions[1].startFolder) << "from a folder that cannot be used another one is sought";
    chooser.answer("/srv/ünotes");
    EXPECT_EQ(choice->vaultPath.value(), QStringLiteral("/srv/ünotes"));
    EXPECT_EQ(defaults.data(DefaultsKeys::notesVaultFolder), QByteArray("/srv/ünotes"));
    EXPECT_TRUE(store->isLoadingFolders.value());
    choice->useDefaultVaultFolder();
    EXPECT_FALSE(defaults.data(DefaultsKeys::notesVaultFolder));
    EXPECT_EQ(choice->vaultPath.value(), QStringLiteral("/home/of/notes"));
    ASSERT_TRUE(settle());
}

TEST_F(ChoicesTest, SoundDevicesFollowTheSystemUntilOneIsChosen) {
    using Kind = SoundDevice::Kind;
    const auto server = std::make_shared<FakeSoundDevices>();
    const auto device = [](Kind kind, const char* name, const char* text) {
        return SoundDevice{.kind = kind, .name = QString::fromUtf8(name), .description = QString::fromUtf8(text)};
    };
    server->found = {device(Kind::Output, "out.a", "Headset"), device(Kind::Output, "out.b", "Headset"),
                     device(Kind::Input, "in.a", "Headset"), device(Kind::Input, "in.b", "")};
    const auto sound = std::make_shared<SoundChoiceModel>(server, defaults);
    const auto labels = [&](Kind kind) {
        QStringList all;
        for (const auto& option : sound->options(kind))
            all.append(option.name + QLatin1Char('=') + option.label +
                       (option.isMissing ? QLatin1String("?") : QLatin1String()));
        return all.join(QLatin1Char('|')).toStdString();
    };
    EXPECT_EQ(labels(Kind::Output), "=");
    sound->choose(Kind::Output, QStringLiteral("out.gone"));
    EXPECT_EQ(labels(Kind::Output), "=|out.gone=out.gone") << "before the server answers nothing is missing";
    sound->refresh();
    sound->refresh();
    ASSERT_TRUE(waitFor([&] { return !sound->isLoading.value(); }));
    EXPECT_EQ(server->lists, 1);
    EXPECT_EQ(labels(Kind::Output), "=|out.gone=out.gone?|out.a=Headset (out.a)|out.b=Headset (out.b)");
    EXPECT_EQ(labels(Kind::Input), "=|in.a=Headset|in.b=in.b");

    sound->choose(Kind::Input, QStringLiteral("in.b"));
    EXPECT_EQ(defaults.string(DefaultsKeys::microphoneDevice), QStringLiteral("in.b"));
    EXPECT_EQ(sound->chosen(Kind::Output), QStringLiteral("out.gone"));
    sound->choose(Kind::Output, {});
    EXPECT_FALSE(defaults.string(DefaultsKeys::systemAudioDevice)) << "following the system is no stored choice";

    server->answers = false;
    sound->refresh();
    ASSERT_TRUE(waitFor([&] { return !sound->problem.value().isEmpty(); }));
    EXPECT_EQ(labels(Kind::Input), "=|in.b=in.b") << "the choice stays";
}

TEST_F(SettingsModelTest, SummariesAreSaidToBeMadeWhereTheyWillBe) {
    using Maker = SettingsModel::SummaryStatus::Maker;
    using Meanwhile = SettingsModel::SummaryStatus::Meanwhile;
    const QString local = QStringLiteral("localhost:8080/v1");
    const QString cloud = QStringLiteral("https://llm.example:8443/v1");
    const struct {
        bool useLocal, offers, mayUseCloud;
        QString local, cloud;
        Maker maker;
        Meanwhile meanwhile;
        const char* host;
    } rows[] = {
        {true, false, true, {}, {}, Maker::Unavailable, Meanwhile::SystemCloud, ""},
        {true, false, true, {}, cloud, Maker::Unavailable, Meanwhile::CloudService, "llm.example:8443"},
        {true, false, false, {}, cloud, Maker::Unavailable, Meanwhile::SystemCloud, ""},
        {true, false, true, local, cloud, Maker::LocalServer, Meanwhile::None, "localhost:8080"},
        {true, false, true, QStringLiteral("http://lan.example"), {}, Maker::Unavailable, Meanwhile::SystemCloud, ""},
        {true, true, true, {}, cloud, Maker::SystemModel, Meanwhile::None, ""},
        {false, true, true, local, cloud, Maker::CloudService, Meanwhile::None, "llm.example:8443"},
        {false, true, true, local, QStringLiteral("http://llm.example"), Maker::SystemCloud, Meanwhile::None, ""},
    };
    makeModel();
    defaults.set(DefaultsKeys::localModelName, QStringLiteral("small"));
    defaults.set(DefaultsKeys::cloudModelName, QStringLiteral("large"));
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        model->setUseLocal(row.useLocal);
        summarisation->setCloudFallback(row.mayUseCloud);
        defaults.set(DefaultsKeys::localModelAddress, row.local);
        defaults.set(DefaultsKeys::cloudModelAddress, row.cloud);
        systemModel.offers = row.offers;
        summarisation->checkLocalAvailability();
        const SettingsModel::SummaryStatus status = model->summaryStatus();
        EXPECT_EQ(status.maker, row.maker);
        EXPECT_EQ(status.meanwhile, row.meanwhile);
        EXPECT_EQ(status.host.toStdString(), row.host);
    }
}

} // namespace
} // namespace quillet::test
