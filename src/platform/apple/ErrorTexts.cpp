#include "platform/apple/ErrorTexts.h"

#include <cerrno>

namespace quillet::apple {
namespace {

constexpr std::int64_t kCocoaOutOfSpace = 640;
constexpr std::int64_t kMediaDiskFull = -11807;

int errnoOf(const QString& domain, std::int64_t code) {
    if (domain == QLatin1String("NSCocoaErrorDomain") && code == kCocoaOutOfSpace) return ENOSPC;
    if (domain == QLatin1String("AVFoundationErrorDomain") && code == kMediaDiskFull) return ENOSPC;
    return static_cast<int>(code);
}

} // namespace

PlatformError platformError(const QString& domain, std::int64_t code, const QString& description) {
    const QString text = description.trimmed();
    return {errnoOf(domain, code), text.isEmpty() ? QStringLiteral("error %1 of %2").arg(code).arg(domain) : text};
}

PlatformError statusError(const QString& what, std::int32_t status) {
    return {status, QStringLiteral("%1 (error %2)").arg(what).arg(status)};
}

AuthorizationStatus authorizationStatus(std::int64_t rawValue) {
    switch (rawValue) {
    case 1:
        return AuthorizationStatus::Restricted;
    case 2:
        return AuthorizationStatus::Denied;
    case 3:
        return AuthorizationStatus::Authorized;
    default:
        return AuthorizationStatus::NotDetermined;
    }
}

QString settingsAddress(SettingsPlace place) {
    const QString pane = QStringLiteral("x-apple.systempreferences:com.apple.preference.security?Privacy_");
    switch (place) {
    case SettingsPlace::ScreenCapture:
        return pane + QStringLiteral("ScreenCapture");
    case SettingsPlace::Microphone:
        return pane + QStringLiteral("Microphone");
    case SettingsPlace::Automation:
        return pane + QStringLiteral("Automation");
    }
    return {};
}

} // namespace quillet::apple
