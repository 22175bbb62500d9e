#pragma once

#include "support/Result.h"

#include <QString>
#include <QVariant>

#import <Foundation/Foundation.h>
#include <filesystem>

NS_ASSUME_NONNULL_BEGIN

namespace quillet {

// Between the platform's objects and ours. Nil reads as empty.

[[nodiscard]] NSString* toNSString(const QString& text);
[[nodiscard]] QString fromNSString(NSString* _Nullable text);

[[nodiscard]] NSURL* toFileURL(const std::filesystem::path& path);
[[nodiscard]] std::filesystem::path toPath(NSURL* _Nullable url);

/// The localized description with domain and number; a nil error, which no call should leave behind, says so.
[[nodiscard]] PlatformError toPlatformError(NSError* _Nullable error);

/// The name under which the platform keeps this program's settings.
[[nodiscard]] NSString* settingsDomain();

/// Texts, numbers, truth values and data; anything else is invalid or nil.
[[nodiscard]] QVariant toVariant(id _Nullable object);
[[nodiscard]] id _Nullable fromVariant(const QVariant& value);

} // namespace quillet

NS_ASSUME_NONNULL_END
