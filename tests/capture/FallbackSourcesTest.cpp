#include "capture/FallbackSources.h"

#include "support/FakeHardware.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using Kind = SoundDevice::Kind;

TEST(FallbackSourcesTest, onlyAMissingDeviceIsReplacedByTheDefaultAndThatIsTold) {
    using Step = MicrophoneFailure::Step;
    const MicrophoneFailure missing{
        .step = Step::DeviceInput, .description = QStringLiteral("unplugged"), .isNamedDeviceMissing = true};
    const MicrophoneFailure refused{.step = Step::DeviceInput, .description = QStringLiteral("refused")};
    const MicrophoneFailure none{};
    using Content = decltype(FakeSystemAudio::content);
    const Content speakers = std::optional(ShareableContent{{QStringLiteral("speakers")}});
    const Content nothing = std::optional(ShareableContent{});
    const Content noServer = Failure{PlatformError{1, QStringLiteral("no server")}};
    enum Heard { Chosen, Standard, Nothing };
    const struct {
        std::optional<MicrophoneFailure> chosenMicrophone, standardMicrophone;
        Content chosenOutput, standardOutput;
        Heard microphone, output;
        std::vector<Kind> told;
        const char* error = "";
    } rows[] = {
        {{}, {}, speakers, speakers, Chosen, Chosen, {}},
        {missing, {}, speakers, speakers, Standard, Chosen, {Kind::Input}},
        {{}, {}, nothing, speakers, Chosen, Standard, {Kind::Output}},
        {missing, {}, nothing, speakers, Standard, Standard, {Kind::Input, Kind::Output}},
        {refused, {}, speakers, speakers, Nothing, Nothing, {}, "Microphone input failed: refused"},
        {missing, none, speakers, speakers, Nothing, Nothing, {}, "No microphone available."},
        {{}, {}, noServer, speakers, Nothing, Nothing, {}, "Could not get shareable content: no server"},
        {{}, {}, nothing, nothing, Nothing, Nothing, {}, "No display available for system audio capture."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        auto chosenMicrophone = std::make_shared<FakeMicrophone>();
        auto standardMicrophone = std::make_shared<FakeMicrophone>();
        auto chosenOutput = std::make_shared<FakeSystemAudio>();
        auto standardOutput = std::make_shared<FakeSystemAudio>();
        chosenMicrophone->failure = row.chosenMicrophone;
        standardMicrophone->failure = row.standardMicrophone;
        chosenOutput->content = row.chosenOutput;
        standardOutput->content = row.standardOutput;
        std::vector<Kind> told;
        const LiveSources sources = withFallback({chosenOutput, chosenMicrophone}, {standardOutput, standardMicrophone},
                                                 [&told](Kind kind) { told.push_back(kind); });
        const auto engine = AudioCaptureEngine::create({.systemAudio = sources.systemAudio,
                                                        .microphone = sources.microphone,
                                                        .writers = std::make_shared<FakeWriters>()},
                                                       std::make_shared<FakeHost>());
        engine->startRecording();
        const bool starts = *row.error == '\0';
        EXPECT_TRUE(
            waitFor([&] { return starts ? engine->isRecording.value() : engine->lastError.value().has_value(); }));
        EXPECT_EQ(engine->lastError.value().value_or(QString()).toStdString(), row.error);
        engine->queue().sync([] {});
        const auto heard = [](const auto& chosen, const auto& standard) {
            EXPECT_FALSE(chosen.handler && standard.handler);
            return chosen.handler ? Chosen : standard.handler ? Standard : Nothing;
        };
        EXPECT_EQ(heard(*chosenMicrophone, *standardMicrophone), row.microphone);
        EXPECT_EQ(heard(*chosenOutput, *standardOutput), row.output);
        EXPECT_EQ(told, row.told);
        engine->stopRecording();
        engine->queue().sync([] {});
        engine->waitUntilFinished();
        processEvents();
    }
}

} // namespace
} // namespace quillet::test
