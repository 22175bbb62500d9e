#include "storage/RecordingRecovery.h"

#include "platform/RecordingFiles.h"
#include "storage/m4a/TestRecordings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <future>

namespace quillet::test {
namespace {

using Kind = RecoveryOutcome::Kind;
constexpr std::int64_t kBlocks = 60;

/// As if they had been left behind yesterday.
std::filesystem::file_time_type backdate(const TemporaryFolder& folder) {
    const auto then = std::filesystem::file_time_type::clock::now() - std::chrono::hours(30);
    for (const std::string& name : folder.names()) std::filesystem::last_write_time(folder / name, then);
    return then;
}

TEST(RecordingRecoveryTest, everyLeftoverIsFinishedOrExplainedAndNothingElseIsTouched) {
    const TemporaryFolder folder;
    const ByteVector leftover = unfinishedRecording(kBlocks);
    const ByteVector beginning(leftover.begin(), leftover.begin() + 760); // within the first fragment's header
    const ByteVector text(1000, std::byte{'t'});
    auto live = createRecordingFile(folder / "live.m4a");
    ASSERT_TRUE(live.ok() && (*live)->writeAt(0, leftover).ok());
    writeFile(folder / "killed.m4a", leftover);
    writeFile(folder / "UPPER.M4A", leftover);
    writeFile(folder / "empty.m4a", {});
    writeFile(folder / "beginning.m4a", beginning);
    writeFile(folder / "zeros.m4a", ByteVector(5000));
    writeFile(folder / "text.m4a", text);
    writeFile(folder / "other.mp4", leftover);
    writeFile(folder / ".m4a", leftover); // a hidden file without an extension
    std::filesystem::create_directory(folder / "folder.m4a");
    writeFile(folder / "folder.m4a/inside.m4a", leftover);
    writeFile(folder / "elsewhere", leftover);
    std::filesystem::create_symlink(folder / "elsewhere", folder / "link.m4a");
    const auto then = backdate(folder);
    const auto names = folder.names();

    const auto outcomes = recoverRecordings(folder.path());

    std::vector<std::pair<std::string, Kind>> kinds;
    for (const RecoveryOutcome& outcome : outcomes) {
        kinds.emplace_back(outcome.file.filename(), outcome.kind);
        EXPECT_EQ(outcome.reason.isEmpty(), outcome.kind != Kind::NotRepaired) << outcome.file;
        if (outcome.kind != Kind::Repaired) continue;
        EXPECT_DOUBLE_EQ(outcome.durationSeconds, kBlocks * 1024 / 48000.0);
        EXPECT_TRUE(demux(readFile(outcome.file)).isPlain);
    }
    const decltype(kinds) expected{{"UPPER.M4A", Kind::Repaired},    {"beginning.m4a", Kind::NotRepaired},
                                   {"empty.m4a", Kind::NotRepaired}, {"killed.m4a", Kind::Repaired},
                                   {"live.m4a", Kind::BeingWritten}, {"zeros.m4a", Kind::NotRepaired}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(folder.names(), names);
    EXPECT_EQ(std::filesystem::last_write_time(folder / "killed.m4a"), then);
    for (const char* name : {"live.m4a", "other.mp4", ".m4a", "folder.m4a/inside.m4a", "elsewhere"})
        EXPECT_TRUE(readFile(folder / name) == leftover) << name;
    EXPECT_TRUE(readFile(folder / "beginning.m4a") == beginning);
    EXPECT_TRUE(readFile(folder / "text.m4a") == text);

    // What was finished needs nobody any more.
    live->reset();
    const auto again = recoverRecordings(folder.path());
    ASSERT_EQ(again.size(), 4U);
    EXPECT_EQ(std::ranges::count(again, Kind::Repaired, &RecoveryOutcome::kind), 1); // live.m4a, now left behind
    EXPECT_TRUE(recoverRecordings(folder / "missing").empty());
}

TEST(RecordingRecoveryTest, recoveriesAtTheSameTimeDoNotDisturbEachOther) {
    constexpr int kFiles = 60;
    const TemporaryFolder folder;
    const ByteVector leftover = unfinishedRecording(kBlocks);
    for (int i = 0; i < kFiles; ++i) writeFile(folder / (std::to_string(i) + ".m4a"), leftover);
    backdate(folder);

    std::vector<std::future<std::vector<RecoveryOutcome>>> recoveries;
    for (int i = 0; i < 3; ++i)
        recoveries.push_back(std::async(std::launch::async, [&] { return recoverRecordings(folder.path()); }));
    std::vector<std::filesystem::path> repaired;
    for (auto& recovery : recoveries) {
        for (const auto& outcome : recovery.get()) {
            EXPECT_EQ(outcome.kind, Kind::Repaired) << outcome.reason.toStdString();
            repaired.push_back(outcome.file);
        }
    }
    std::ranges::sort(repaired);
    EXPECT_EQ(repaired.size(), static_cast<std::size_t>(kFiles));
    EXPECT_EQ(std::ranges::adjacent_find(repaired), repaired.end());
    const ByteVector one = readFile(repaired.front());
    EXPECT_TRUE(demux(one).isPlain);
    for (const auto& file : repaired) EXPECT_TRUE(readFile(file) == one);
}

TEST(RecordingRecoveryTest, whatStillGrowsIsNotTouchedThoughNoLockIsSeen) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "shared.m4a";
    const ByteVector leftover = unfinishedRecording(kBlocks);
    auto written = static_cast<std::ptrdiff_t>(leftover.size() / 2);
    const auto upTo = [&](std::ptrdiff_t end) { return ByteVector(leftover.begin(), leftover.begin() + end); };
    writeFile(file, upTo(written));

    auto recovery = std::async(std::launch::async, [&] { return recoverRecording(file); });
    while (recovery.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
        writeFile(file, upTo(++written));
    const auto outcomes = recovery.get();

    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_EQ(outcomes[0].kind, Kind::BeingWritten);
    EXPECT_TRUE(readFile(file) == upTo(written));
    writeFile(file, leftover);
    backdate(folder);
    const auto later = recoverRecording(file);
    ASSERT_EQ(later.size(), 1U);
    EXPECT_EQ(later[0].kind, Kind::Repaired);
}

} // namespace
} // namespace quillet::test
