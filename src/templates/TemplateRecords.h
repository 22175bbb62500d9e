#pragma once

#include "support/Result.h"
#include "templates/MeetingTemplate.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace quillet {

/// Templates as JSON, as they are stored and exported: compact UTF-8, one object a template with the five fields as
/// keys. Decoding takes all five with exactly their types, ignores other keys, and fails as a whole when one record
/// does; the error is a sentence that names the record. Any thread.
namespace TemplateRecords {

[[nodiscard]] QByteArray encode(const MeetingTemplate& meetingTemplate);
[[nodiscard]] QByteArray encode(const std::vector<MeetingTemplate>& templates);

[[nodiscard]] Result<std::vector<MeetingTemplate>, QString> decodeList(const QByteArray& json);
/// Also takes a single record, as one template is exported.
[[nodiscard]] Result<std::vector<MeetingTemplate>, QString> decodeListOrRecord(const QByteArray& json);

/// Upper-case digits in groups of 8, 4, 4, 4 and 12, without braces.
[[nodiscard]] QString uuidText(const QUuid& id);
/// Takes digits of either case, but no other form; the null UUID is one too.
[[nodiscard]] std::optional<QUuid> parseUuid(const QString& text);

} // namespace TemplateRecords
} // namespace quillet
