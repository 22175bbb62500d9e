#pragma once

#include "platform/ScriptHost.h"

namespace quillet {

/// The platform's own scripts. The first one addressed to an application makes the system ask the user, once.
class AppleScriptHost final : public ScriptHost {
public:
    [[nodiscard]] std::optional<Outcome> execute(const QString& source) override;
};

} // namespace quillet
