#pragma once

#include "support/StopToken.h"

#include <QString>

#include <optional>

namespace quillet {

/// What the user keeps in this system's keyring for this program under the purpose; absent when there is nothing or no
/// keyring. Blocks while the user is asked to unlock it, for a minute at most; on a worker.
[[nodiscard]] std::optional<QString> keyringSecret(const QString& purpose, const StopToken& stop);

/// How the user puts it there, as a sentence.
[[nodiscard]] QString keyringAdvice(const QString& purpose);

} // namespace quillet
