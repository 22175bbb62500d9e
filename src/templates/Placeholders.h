#pragma once

#include <QString>

#include <array>

namespace quillet {

/// A name in double braces that stands for one fact of a meeting.
struct Placeholder {
    QString text;            ///< braces included; data, never translated
    const char* description; ///< for the user; translated in the context "Placeholders" where it is shown
};

/// All of them, in the order in which they are shown and replaced.
[[nodiscard]] const std::array<Placeholder, 10>& placeholderReference();

} // namespace quillet
