#include "SettingsTestSupport.h"

namespace quillet::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using Call = FakeNotesApplication::Call;

using SettingsModelTest = SettingsFixture;

TEST_F(SettingsModelTest, AppearingReadsEverythingAfresh) {
    makeModel();
    ASSERT_TRUE(settle());
    const int listings = notes->folderCalls;
    const int asked = systemModel.asked;
    files->setCustomRecordingsDirectory("/nowhere/at/all");
    defaults.set(DefaultsKeys::notesFolderName, u"Work"_s);
    launches = true;
    services->screenCapture = false;
    model->appeared();
    EXPECT_EQ(store->recordingPath.value(), u"/nowhere/at/all"_s);
    EXPECT_EQ(model->selectedNotesFolder.value(), u"Work"_s);
    EXPECT_TRUE(model->launchAtLogin.value());
    EXPECT_TRUE(launchChanges.empty()) << "reading is no change";
    EXPECT_EQ(permissions->screenCaptureStatus.value(), PermissionStatus::Denied);
    EXPECT_EQ(systemModel.asked, asked + 1);
    ASSERT_TRUE(waitFor([&] { return notes->folderCalls > listings; }));
    ASSERT_TRUE(settle());
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

using ChoicesTest = SettingsFixture;

TEST_F(ChoicesTest, AnApplicationThatIsLeftIsNotWaitedForAndItsAnswerChangesNothing) {
    defaults.set(DefaultsKeys::notesApplication, u"joplin"_s);
    notes->asks = true;
    notes->answer = false;
    notes->hold(Call::Request);
    QString cancelled;
    notes->onCancel = [&] {
        cancelled = defaults.string(DefaultsKeys::notesApplication).value_or(QString());
        notes->goOn.release();
    };
    makeModel();
    const auto choice = makeNotesChoice();
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
    EXPECT_EQ(cancelled, u"joplin"_s) << "the one that is left";
    ASSERT_TRUE(settle());
}

TEST_F(ChoicesTest, ALateAnswerOfTheApplicationBeforeDoesNotReplaceTheFolders) {
    notes->folders = {u"Of the other one"_s};
    notes->hold(Call::Folders);
    makeStore();
    const auto choice = makeNotesChoice();
    ASSERT_TRUE(waitFor([this] { return notes->folderCalls == 1; }));

    notes->folders = {u"Work"_s};
    choice->setApplication(NotesChoiceModel::Application::Joplin);
    ASSERT_TRUE(settle());
    notes->goOn.release();
    ASSERT_TRUE(waitFor([this] { return notes.use_count() == 3; }));
    processEvents();
    EXPECT_THAT(store->availableFolders.value(), ElementsAre(u"Work"_s));
    EXPECT_FALSE(store->notesFoldersLoadFailed.value());

    EXPECT_EQ(defaults.string(DefaultsKeys::notesApplication), u"joplin"_s);
    choice->setApplication(NotesChoiceModel::Application::Joplin);
    EXPECT_FALSE(store->isLoadingFolders.value()) << "the same again changes nothing";
}

TEST_F(ChoicesTest, TheVaultsFolder) {
    makeStore();
    const auto choice = makeNotesChoice();
    EXPECT_TRUE(choice->isDefaultVault());
    EXPECT_EQ(choice->vaultPath.value(), kDefaultVault);
    choice->chooseVaultFolder();
    EXPECT_EQ(chooser.questions[0].startFolder, kDefaultVault.toStdString());
    chooser.answer(std::nullopt);
    EXPECT_TRUE(choice->isDefaultVault());
    permissions->automationStatus.set(PermissionStatus::Denied);
    choice->chooseVaultFolder();
    EXPECT_FALSE(chooser.questions[1].startFolder) << "from a folder that cannot be used another one is sought";
    chooser.answer("/srv/ünotes");
    EXPECT_EQ(choice->vaultPath.value(), u"/srv/ünotes"_s);
    EXPECT_EQ(defaults.data(DefaultsKeys::notesVaultFolder), QByteArray("/srv/ünotes"));
    EXPECT_TRUE(store->isLoadingFolders.value());
    choice->useDefaultVaultFolder();
    EXPECT_FALSE(defaults.data(DefaultsKeys::notesVaultFolder));
    EXPECT_EQ(choice->vaultPath.value(), kDefaultVault);
    ASSERT_TRUE(settle());
}

TEST_F(ChoicesTest, SoundDevicesFollowTheSystemUntilOneIsChosen) {
    using Kind = SoundDevice::Kind;
    const auto device = [](Kind kind, const QString& name, const QString& text) {
        return SoundDevice{.kind = kind, .name = name, .description = text};
    };
    const auto server = std::make_shared<FakeSoundDevices>(
        std::vector{device(Kind::Output, u"out.a"_s, u"Headset"_s), device(Kind::Output, u"out.b"_s, u"Headset"_s),
                    device(Kind::Input, u"in.a"_s, u"Headset"_s), device(Kind::Input, u"in.b"_s, u""_s)});
    const auto sound = std::make_shared<SoundChoiceModel>(server, defaults);
    const auto labels = [&](Kind kind) {
        QStringList all;
        for (const auto& option : sound->options(kind))
            all << option.name + u'=' + option.label + (option.isMissing ? u"?"_s : u""_s);
        return all.join(u'|').toStdString();
    };
    EXPECT_EQ(labels(Kind::Output), "=");
    sound->choose(Kind::Output, u"out.gone"_s);
    EXPECT_EQ(labels(Kind::Output), "=|out.gone=out.gone") << "before the server answers nothing is missing";
    sound->refresh();
    sound->refresh();
    ASSERT_TRUE(waitFor([&] { return !sound->isLoading.value(); }));
    EXPECT_EQ(server->lists, 1);
    EXPECT_EQ(labels(Kind::Output), "=|out.gone=out.gone?|out.a=Headset (out.a)|out.b=Headset (out.b)");
    EXPECT_EQ(labels(Kind::Input), "=|in.a=Headset|in.b=in.b");

    sound->choose(Kind::Input, u"in.b"_s);
    EXPECT_EQ(defaults.string(DefaultsKeys::microphoneDevice), u"in.b"_s);
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
    const QString local = u"localhost:8080/v1"_s;
    const QString cloud = u"https://llm.example:8443/v1"_s;
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
        {true, true, true, {}, cloud, Maker::SystemModel, Meanwhile::None, ""},
        {false, true, true, local, cloud, Maker::CloudService, Meanwhile::None, "llm.example:8443"},
    };
    makeModel();
    defaults.set(DefaultsKeys::localModelName, u"small"_s);
    defaults.set(DefaultsKeys::cloudModelName, u"large"_s);
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
