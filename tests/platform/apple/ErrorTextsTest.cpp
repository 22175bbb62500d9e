#include "platform/apple/ErrorTexts.h"

#include "platform/apple/FirstAnswer.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace quillet::apple::test {
namespace {

TEST(ErrorTextsTest, errorsSpeakInThePlatformsWords) {
    const struct {
        const char* domain;
        std::int64_t code;
        const char* description;
        int expectedCode;
        const char* expectedText;
    } rows[] = {
        {"NSPOSIXErrorDomain", EACCES, "Permission denied", EACCES, "Permission denied"},
        {"NSCocoaErrorDomain", 640, "The disk is full.", ENOSPC, "The disk is full."},
        {"AVFoundationErrorDomain", -11807, "Not enough space", ENOSPC, "Not enough space"},
        {"NSPOSIXErrorDomain", 640, "no such number", 640, "no such number"},
        {"com.apple.Other", -3801, " \n", -3801, "error -3801 of com.apple.Other"},
    };
    for (const auto& row : rows) {
        const auto error = platformError(QString::fromUtf8(row.domain), row.code, QString::fromUtf8(row.description));
        EXPECT_EQ(error.code, row.expectedCode) << row.domain;
        EXPECT_EQ(error.description, QString::fromUtf8(row.expectedText));
    }
}

TEST(ErrorTextsTest, microphoneStatusesAreThoseOfThePlatform) {
    const std::pair<std::int64_t, AuthorizationStatus> rows[] = {
        {0, AuthorizationStatus::NotDetermined}, {1, AuthorizationStatus::Restricted},
        {2, AuthorizationStatus::Denied},        {3, AuthorizationStatus::Authorized},
        {4, AuthorizationStatus::NotDetermined}, {-1, AuthorizationStatus::NotDetermined}};
    for (const auto& [raw, expected] : rows) EXPECT_EQ(authorizationStatus(raw), expected) << raw;
}

TEST(FirstAnswerTest, theClockAndTheServiceAreToldApart) {
    std::vector<int> answers;
    const auto held = std::make_shared<int>(0);
    const FirstAnswer<int> answer([&answers, held](int value) { answers.push_back(value); });
    const FirstAnswer<int> clock = answer;
    answer(1);
    clock(2);
    answer(3);
    EXPECT_EQ(answers, std::vector{1});
    EXPECT_EQ(held.use_count(), 1) << "what the completion held is let go of";
}

} // namespace
} // namespace quillet::apple::test
