#include "capture/FallbackSources.h"

#include "support/FakeHardware.h"

#include <gtest/gtest.h>

namespace quillet::test {
namespace {

using Kind = SoundDevice::Kind;

TEST(FallbackSourcesTest, onlyAMissingDeviceIsReplacedByTheDefaultAndThatIsTold) {
    using Step = MicrophoneFailure::Step;
    const MicrophoneFailure missing{
        .step = Step::DeviceInput, .description = QStringLiteral("unplugged"), .isNamedDeviceMissing = true};
    const MicrophoneFailure refused{.step = Step::DeviceInput, .description = QStringLiteral("refused")};
    const MicrophoneFailure none{.description = QStringLiteral("none")};
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
        const char* failures = "";
    } rows[] = {
        {{}, {}, speakers, speakers, Chosen, Chosen, {}},
        {missing, {}, speakers, speakers, Standard, Chosen, {Kind::Input}},
        {{}, {}, nothing, speakers, Chosen, Standard, {Kind::Output}},
        {missing, {}, nothing, speakers, Standard, Standard, {Kind::Input, Kind::Output}},
        {refused, {}, noServer, speakers, Nothing, Chosen, {}, "refused. no server. "},
        {missing, none, nothing, nothing, Nothing, Chosen, {}, "none. no output. "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        auto chosenMicrophone = std::make_shared<FakeMicrophone>();
        auto standardMicrophone = std::make_shared<FakeMicrophone>();
        auto chosenOutput = std::make_shared<FakeSystemAudio>();
        auto standardOutput = std::make_shared<FakeSystemAudio>();
        chosenMicrophone->failure = row.chosenMicrophone;
        standardMicrophone->failure = row.standardMicrophone;
        chosenMicrophone->status = AuthorizationStatus::Restricted;
        chosenOutput->content = row.chosenOutput;
        standardOutput->content = row.standardOutput;
        std::vector<Kind> told;
        const LiveSources sources = withFallback({chosenOutput, chosenMicrophone}, {standardOutput, standardMicrophone},
                                                 [&told](Kind kind) { told.push_back(kind); });
        std::string failures;
        const auto say = [&failures](const QString& reason) { failures += reason.toStdString() + ". "; };
        SerialQueue queue("test");
        const auto ignore = [](const SampleBuffer&) {};
        const auto session = sources.microphone->start(queue, ignore);
        if (!session) say(session.error().description);
        sources.systemAudio->getShareableContent([&say](const Content& content) {
            if (!content) say(content.error().description);
            if (content && (*content)->displays.empty()) say(QStringLiteral("no output"));
        });
        const auto stream = sources.systemAudio->makeStream({}, {});
        ASSERT_TRUE(stream->addStreamOutput(queue, ignore).ok());
        EXPECT_EQ(failures, row.failures);
        EXPECT_EQ(sources.microphone->authorizationStatus(), AuthorizationStatus::Restricted);
        const auto heard = [](const auto& chosen, const auto& standard) {
            EXPECT_FALSE(chosen.handler && standard.handler);
            return chosen.handler ? Chosen : standard.handler ? Standard : Nothing;
        };
        EXPECT_EQ(heard(*chosenMicrophone, *standardMicrophone), row.microphone);
        EXPECT_EQ(heard(*chosenOutput, *standardOutput), row.output);
        EXPECT_EQ(told, row.told);
    }
}

} // namespace
} // namespace quillet::test
