#pragma once

#include <QString>

namespace quillet::markdown {

/// The body with "• " at the start of a line as "- ": readers of Markdown run the former together into one paragraph.
[[nodiscard]] QString withDashBullets(const QString& body);

/// The body with a paragraph after its first one, which is the heading: there a player is seen at once, and nothing in
/// the user's text (an open code fence, a comment) can swallow it.
[[nodiscard]] QString withParagraphBelowHeading(const QString& body, const QString& paragraph);

/// Text between the brackets of a link.
[[nodiscard]] QString linkLabel(const QString& text);

/// A relative path as the target of a link: percent-encoded but for slashes.
[[nodiscard]] QString linkTarget(const QString& path);

} // namespace quillet::markdown
