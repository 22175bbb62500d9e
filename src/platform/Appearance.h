#pragma once

#include "support/Published.h"

#include <memory>
#include <optional>

namespace quillet {

/// How the desktop wants programs to look, as far as it says so and Qt does not pass it on by itself. One per process,
/// owned by the composition root; main thread only. A value is absent until the desktop has answered, and stays so
/// where nothing answers.
class Appearance {
public:
    enum class Scheme { Light, Dark };

    virtual ~Appearance() = default;

    [[nodiscard]] virtual Published<std::optional<Scheme>>& scheme() = 0;
    [[nodiscard]] virtual Published<std::optional<double>>& textScale() = 0; ///< 1 is the desktop's ordinary size
    [[nodiscard]] virtual Published<std::optional<bool>>& animations() = 0;  ///< false: the user wants things still
};

[[nodiscard]] std::unique_ptr<Appearance> makeAppearance();

} // namespace quillet
