#pragma once

#include "summarisation/SummaryService.h"
#include "summarisation/TranscriptFile.h"
#include "support/StopToken.h"

#include <QString>

namespace quillet::cli {

/// A file, or standard input for "-". The error is a sentence for the user; a guess about the text is told at once.
[[nodiscard]] Result<QString, QString> transcriptFrom(const QString& path);

/// Summarises with what the settings say, tells on standard error where and how far it is. On a worker.
[[nodiscard]] SummaryOutcome summariseWithProgress(SummaryService& service, const QString& transcript,
                                                   const StopToken& stop);

} // namespace quillet::cli
