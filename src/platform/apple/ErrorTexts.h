#pragma once

#include "platform/AuthorizationStatus.h"
#include "platform/PermissionServices.h"
#include "support/Result.h"

#include <QString>

#include <cstdint>

namespace quillet::apple {

/// What the platform says of an error. The description is the platform's own, for the user; where it has none, domain
/// and number stand in for it. A full disk reads ENOSPC whichever layer noticed it.
[[nodiscard]] PlatformError platformError(const QString& domain, std::int64_t code, const QString& description);

/// For a status number of the C interfaces, which come without a text.
[[nodiscard]] PlatformError statusError(const QString& what, std::int32_t status);

/// A value that later systems may add counts as not determined.
[[nodiscard]] AuthorizationStatus authorizationStatus(std::int64_t rawValue);

/// The address of the pane of System Settings where the user changes a permission.
[[nodiscard]] QString settingsAddress(SettingsPlace place);

} // namespace quillet::apple
