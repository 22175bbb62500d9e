#include "summarisation/TranscriptFile.h"

#include <QStringDecoder>

namespace quillet {
namespace {

/// A hundred hours of talk and more.
constexpr qsizetype kMaxBytes = qsizetype{32} * 1024 * 1024;

bool isText(const QString& text) { return !text.contains(QChar(u'\0')); }

} // namespace

Result<Transcript, QString> decodeTranscript(const QByteArray& bytes) {
    if (bytes.size() > kMaxBytes) return Failure{QStringLiteral("is too long for a transcript.")};
    const auto marked = QStringConverter::encodingForData(bytes);
    QStringDecoder decoder(marked.value_or(QStringConverter::Utf8));
    Transcript transcript{.text = decoder(bytes)};
    if (decoder.hasError() && !marked) transcript = {.text = QString::fromLatin1(bytes), .isGuessed = true};
    if ((decoder.hasError() && marked) || !isText(transcript.text)) return Failure{QStringLiteral("is no text.")};
    transcript.text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return transcript;
}

Result<Transcript, QString> readTranscript(QIODevice& device) {
    QByteArray bytes;
    while (bytes.size() <= kMaxBytes) {
        QByteArray some(qsizetype{1024} * 1024, Qt::Uninitialized);
        const qint64 got = device.read(some.data(), some.size());
        if (got < 0) return Failure{QStringLiteral("cannot be read: %1.").arg(device.errorString())};
        if (got == 0) break;
        bytes.append(some.constData(), got);
    }
    return decodeTranscript(bytes);
}

} // namespace quillet
