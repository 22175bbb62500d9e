#pragma once

#include <span>

namespace quillet {

/// Every text that a model keeps as data and that shownText() puts before the user, for the catalogues of translations
/// and of platform wordings: whole texts, and beginnings such as "Stream start failed: ", after which a detail follows.
/// UTF-8. Any thread.
[[nodiscard]] std::span<const char* const> shownTexts();

} // namespace quillet
