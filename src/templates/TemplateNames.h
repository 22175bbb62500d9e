#pragma once

#include <QString>

namespace quillet {

/// A name as it fits on one line: names may hold anything, also line breaks, what a terminal would obey, and more
/// characters than anybody reads. At most that many characters are kept.
[[nodiscard]] QString templateNameForOneLine(const QString& name, int characters);

/// A name that a file system takes, for a proposed one that may hold anything.
[[nodiscard]] QString templateFileName(const QString& proposed);

} // namespace quillet
