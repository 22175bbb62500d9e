#include "cli/RecordReport.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace quillet::cli {
namespace {

/// Also what waited for the encoder when the file came to an early end.
std::int64_t blocksNotInFile(const CaptureStatistics& statistics) {
    return statistics.blocksDropped + (statistics.mixed - statistics.finished).count() / kBlockFrames;
}

} // namespace

double seconds(FrameCount frames) { return std::chrono::duration<double>(frames).count(); }

QStringList warnings(const CaptureStatistics& statistics, const std::optional<NoteOutcome>& note) {
    QStringList sentences;
    const auto addSilence = [&](const QString& source, const SourceStatistics& side) {
        if (side.longestSilence >= kNoticeableSilence)
            sentences += QStringLiteral("The %1 delivered only digital silence for %2 s.")
                             .arg(source)
                             .arg(seconds(side.longestSilence), 0, 'f', 0);
    };
    addSilence(QStringLiteral("system audio"), statistics.system);
    addSilence(QStringLiteral("microphone"), statistics.microphone);
    if (const std::int64_t blocks = blocksNotInFile(statistics); blocks > 0)
        sentences += QStringLiteral("%1 s of sound did not reach the file.")
                         .arg(seconds(FrameCount(blocks * kBlockFrames)), 0, 'f', 2);
    if (note && !note->success)
        sentences +=
            QStringLiteral("The recording was saved, but no note could be made: %1 “quillet notes create” with "
                           "the recording makes it later.")
                .arg(note->reason);
    return sentences;
}

QString jsonReport(const std::filesystem::path& recording, const CaptureStatistics& statistics,
                   const std::optional<NoteOutcome>& note, const QStringList& sentences) {
    const QJsonObject result{
        {QStringLiteral("path"), QFile::decodeName(recording.c_str())},
        {QStringLiteral("frames"), static_cast<qint64>(statistics.finished.count())},
        {QStringLiteral("durationSeconds"), seconds(statistics.finished)},
        {QStringLiteral("systemPeak"), static_cast<double>(statistics.system.peak)},
        {QStringLiteral("microphonePeak"), static_cast<double>(statistics.microphone.peak)},
        {QStringLiteral("blocksDropped"), static_cast<qint64>(blocksNotInFile(statistics))},
        {QStringLiteral("systemSilentSeconds"), seconds(statistics.system.longestSilence)},
        {QStringLiteral("microphoneSilentSeconds"), seconds(statistics.microphone.longestSilence)},
        {QStringLiteral("noteMade"), note && note->success},
        {QStringLiteral("warnings"), QJsonArray::fromStringList(sentences)},
    };
    return QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact));
}

} // namespace quillet::cli
