#include "app/RecordingHost.h"

#include "Desk.h"
#include "storage/m4a/TestRecordings.h"

#include <gtest/gtest.h>

#include <chrono>

namespace quillet::test {
namespace {

using namespace std::chrono_literals;

class RecordingHostTest : public testing::Test {
protected:
    Desk desk;
    std::filesystem::path folder = desk.folder.path().toStdString();
    std::vector<std::string> events;
    std::vector<bool> toldUnfinished;
    QObject context;
    RecordingHost host{desk.files,
                       desk.defaults,
                       desk.uiModel,
                       desk.notifications,
                       {.create = [this](const auto&, WallTime) -> std::optional<CreateNoteResult> {
                            events.emplace_back("note");
                            return CreateNoteResult{.success = false};
                        },
                        .renamed = [this](const auto&, const auto&) { events.emplace_back("renamed"); }}};
};

TEST_F(RecordingHostTest, anUnfinishedRecordingIsToldAsSuchAndNotCalledSaved) {
    desk.notifications.observe(Notifications::recordingDidComplete, &context, [this](const QVariantMap& info) {
        toldUnfinished.push_back(info.value(QStringLiteral("isUnfinished")).toBool());
    });
    writeFile(folder / "unfinished.m4a", unfinishedRecording(40));
    for (const auto& [name, isUnfinished] : {std::pair{"Meeting.m4a", false}, {"unfinished.m4a", true}}) {
        host.recordingDidComplete(folder / name);
        const auto result = host.createNote(folder / name, std::chrono::system_clock::now());
        EXPECT_EQ(result.has_value(), !isUnfinished) << "the alert says that the recording was saved";
    }
    EXPECT_TRUE(waitFor([this] { return toldUnfinished == std::vector{false, true}; }));
}

TEST_F(RecordingHostTest, aNoteWaitsForRenamesAndNotForRepairs) {
    writeFile(folder / "leftover.m4a", unfinishedRecording(40)); // so young that it is watched for seconds
    const auto begin = std::chrono::steady_clock::now();
    host.recordingStartsIn(folder);
    host.earlierRecordingSetAside(folder / "a.m4a", folder / "b.m4a");
    static_cast<void>(host.createNote(folder / "Meeting.m4a", std::chrono::system_clock::now()));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 3s);
    EXPECT_EQ(events, (std::vector<std::string>{"renamed", "note"}));
}

} // namespace
} // namespace quillet::test
