#pragma once

#include <QString>

namespace quillet {

/// A text that a model keeps as data (an error, an alert, a status) as the user reads it: in their language and in the
/// words of this platform. A text of which the catalogues know nothing comes back as it is; of one that is made of a
/// known beginning and a detail, both are put into words as far as they are known. What can come is listed in
/// ShownTexts.cpp. Any thread.
[[nodiscard]] QString shownText(const QString& source);

} // namespace quillet
