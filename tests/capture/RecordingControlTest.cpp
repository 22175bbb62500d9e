#include "capture/RecordingControl.h"

#include "support/FakeHardware.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using Phase = RecordingControl::Phase;

class RecordingControlTest : public testing::Test, protected FakeMachine {
protected:
    bool reaches(Phase phase) {
        return waitFor([&] { return control.phase.value() == phase; });
    }

    RecordingControl control{engine};
};

TEST_F(RecordingControlTest, ImpatientClicksStartOneRecordingAndStopItOnce) {
    control.start();
    control.start();
    ASSERT_TRUE(reaches(Phase::Recording));
    control.start();
    control.stop();
    control.stop();
    control.start(); // not settled yet
    ASSERT_TRUE(reaches(Phase::Idle));
    EXPECT_EQ(microphone->starts, 1);
    EXPECT_EQ(systemAudio->stops, 1);

    control.toggle();
    ASSERT_TRUE(reaches(Phase::Recording));
    control.toggle();
    ASSERT_TRUE(reaches(Phase::Idle));
}

TEST_F(RecordingControlTest, AStopWhileStartingIsCarriedOutOnceTheRecordingRuns) {
    systemAudio->holdsStart = true;
    control.start();
    control.toggle();
    EXPECT_EQ(control.phase.value(), Phase::Starting) << "the button that was pressed twice still said start";
    engine->queue().sync([] {});
    control.stop();
    control.stop();
    EXPECT_EQ(control.phase.value(), Phase::StoppingAtStart);
    EXPECT_EQ(systemAudio->stops, 0);

    ASSERT_TRUE(waitFor([&] { return systemAudio->contentRequests == 1; }));
    engine->queue().sync([] {});
    engine->queue().sync([&] { systemAudio->finishStart(); });

    ASSERT_TRUE(reaches(Phase::Idle));
    EXPECT_EQ(systemAudio->stops, 1);
}

TEST_F(RecordingControlTest, AFailedStartSettlesWithOrWithoutAnAnnouncement) {
    microphone->failure = MicrophoneFailure{}; // ends in an error only
    control.start();
    ASSERT_TRUE(reaches(Phase::Idle));
    EXPECT_TRUE(engine->lastError.value().has_value());

    microphone->failure.reset();
    systemAudio->startFailure = PlatformError{1, QStringLiteral("no")}; // error, then the stop
    control.start();
    control.stop();
    ASSERT_TRUE(reaches(Phase::Idle));

    systemAudio->startFailure.reset();
    control.start();
    ASSERT_TRUE(reaches(Phase::Recording));
}

} // namespace
} // namespace quillet::test
