#pragma once

#include "templates/MeetingContext.h"

#include <QString>
#include <QUuid>

#include <vector>

namespace quillet {

/// A named text in Markdown with front matter, in which placeholders stand for the facts of one meeting. A plain
/// value: equal when all five fields are, identified in lists by the id alone. Rendering is pure, never fails and may
/// happen on any thread.
struct MeetingTemplate {
    QUuid id{};
    QString name{};
    QString content{};
    bool isDefault = false; ///< only the built-in one that the program falls back to
    bool isBuiltIn = false;

    bool operator==(const MeetingTemplate&) const = default;

    /// The content with the placeholders replaced, one after the other in the order of the reference, each everywhere
    /// in what the one before has left. So a placeholder inside a value is replaced when it comes later in the order,
    /// and values are inserted as they are, also where they break the front matter. Takes time in proportion to the
    /// texts that come and go.
    [[nodiscard]] QString render(const MeetingContext& context) const;

    /// The four of the program. Their ids are new in every process.
    [[nodiscard]] static const std::vector<MeetingTemplate>& builtInTemplates();
};

} // namespace quillet
