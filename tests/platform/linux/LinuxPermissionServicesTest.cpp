#include "platform/linux/LinuxPermissionServices.h"

#include "support/FakeHardware.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>

namespace quillet::test {
namespace {

TEST(LinuxPermissionServicesTest, OnlyARefusalTakesAccessAway) {
    const struct {
        const char* name;
        AuthorizationStatus server;
        bool granted;
    } rows[] = {
        {"a server that lets us in, or none at all", AuthorizationStatus::Authorized, true},
        {"a sandbox's refusal", AuthorizationStatus::Denied, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto microphone = std::make_shared<FakeMicrophone>();
        microphone->status = row.server;
        LinuxPermissionServices services(microphone);
        EXPECT_TRUE(services.preflightScreenCaptureAccess()) << "nothing is known yet, and nobody waits";

        std::atomic<int> answer = -1;
        services.requestMicrophoneAccess([&](bool granted) { answer = granted ? 1 : 0; });
        ASSERT_TRUE(waitFor([&] { return answer >= 0; }));

        EXPECT_EQ(answer == 1, row.granted);
        EXPECT_EQ(services.preflightScreenCaptureAccess(), row.granted);
        EXPECT_EQ(services.microphoneAuthorizationStatus() == AuthorizationStatus::Authorized, row.granted);
        EXPECT_EQ(microphone->starts, 0) << "no stream is opened to find out";
    }
}

} // namespace
} // namespace quillet::test
