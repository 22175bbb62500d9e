#pragma once

#include "support/Result.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace quillet {

/// A four-character code as the platform packs it: the first character in the highest byte.
[[nodiscard]] consteval std::uint32_t fourCharCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

/// What a script answered. A script without an answer gives the default value.
struct ScriptDescriptor {
    std::uint32_t descriptorType = 0;
    std::int64_t numberOfItems = 0; ///< as the platform reports it: may be negative, may promise more than there is
    std::vector<std::shared_ptr<const ScriptDescriptor>> items{}; ///< null where an item cannot be had
    std::optional<QString> stringValue{};
    bool booleanValue = false;

    /// Counted from one; null for a missing item.
    [[nodiscard]] const ScriptDescriptor* descriptorAtIndex(std::int64_t index) const {
        if (index < 1 || static_cast<std::size_t>(index) > items.size()) return nullptr;
        return items[static_cast<std::size_t>(index) - 1].get();
    }
};

/// Why a script did not run to its end. An entry that is missing or of another type is absent.
struct ScriptErrorInfo {
    std::optional<std::int64_t> number;
    std::optional<QString> message;
    std::optional<QString> briefMessage;
};

/// The platform's interpreter of scripts that drive other applications. Main thread only; a script blocks it until the
/// application has answered, and the first one addressed to an application may make the system ask the user.
class ScriptHost {
public:
    using Outcome = Result<ScriptDescriptor, ScriptErrorInfo>;

    virtual ~ScriptHost() = default;

    /// Compiles and executes the text. Absent when not even a script object could be made of it.
    [[nodiscard]] virtual std::optional<Outcome> execute(const QString& source) = 0;
};

} // namespace quillet
