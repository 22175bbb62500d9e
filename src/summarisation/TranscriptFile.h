#pragma once

#include "support/Result.h"

#include <QByteArray>
#include <QIODevice>
#include <QString>

namespace quillet {

/// A transcript as text.
struct Transcript {
    QString text;
    bool isGuessed = false; ///< neither UTF-8 nor marked as anything else: read as Latin-1
};

/// The error is the second half of a sentence for the user: "… is no text."
[[nodiscard]] Result<Transcript, QString> decodeTranscript(const QByteArray& bytes);
/// Reads to the end of a device that is open.
[[nodiscard]] Result<Transcript, QString> readTranscript(QIODevice& device);

} // namespace quillet
