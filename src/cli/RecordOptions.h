#pragma once

#include "support/Result.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>
#include <variant>

namespace quillet::cli {

/// One side of a recording: a device by name (empty for the default), or an audio file.
struct SourceChoice {
    QString device;
    QString file; ///< not empty: the file's path
};

struct RecordOptions {
    SourceChoice system;
    SourceChoice microphone;
    QString folder; ///< empty: the user's recordings folder
    std::optional<std::chrono::milliseconds> duration;
    bool asFastAsPossible = false;
    bool note = false; ///< make one of this recording, whatever the settings say
    bool json = false;
};

/// The user asked for help: the text to print.
struct HelpRequest {
    QString text;
};

/// The error is a sentence for the user.
[[nodiscard]] Result<std::variant<RecordOptions, HelpRequest>, QString>
parseRecordOptions(const QStringList& arguments);

} // namespace quillet::cli
