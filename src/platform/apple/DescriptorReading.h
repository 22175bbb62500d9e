#pragma once

#include "platform/ScriptHost.h"

#include <QString>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <optional>

namespace quillet::apple {

/// A descriptor in the platform's own hands. Main thread.
class NativeDescriptor {
public:
    virtual ~NativeDescriptor() = default;
    [[nodiscard]] virtual std::uint32_t descriptorType() const = 0;
    [[nodiscard]] virtual std::int64_t numberOfItems() const = 0;
    /// Counted from one; null for a missing item.
    [[nodiscard]] virtual std::unique_ptr<NativeDescriptor> descriptorAtIndex(std::int64_t index) const = 0;
    [[nodiscard]] virtual std::optional<QString> stringValue() const = 0;
    [[nodiscard]] virtual bool booleanValue() const = 0;
};

/// Copies it with all its items. An answer that nests or goes on beyond reason is cut there; its number of items stays
/// what the platform reports.
[[nodiscard]] ScriptDescriptor readDescriptor(const NativeDescriptor& native);

/// From the three entries of an error dictionary; a missing one is invalid. A number counts only when it is an integer,
/// a text only when it is one.
[[nodiscard]] ScriptErrorInfo readScriptError(const QVariant& number, const QVariant& message,
                                              const QVariant& briefMessage);

} // namespace quillet::apple
