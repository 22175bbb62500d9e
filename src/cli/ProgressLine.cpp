#include "cli/ProgressLine.h"

#include "platform/Process.h"

#include <cmath>

namespace quillet::cli {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kPatience = 2s; ///< more than a busy reader needs, and nobody's ruin

QString elapsed(FrameCount frames) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(frames).count();
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

QString source(const QString& name, const SourceStatistics& side) {
    if (side.digitalSilence >= kNoticeableSilence)
        return QStringLiteral("%1 SILENT for %2 s")
            .arg(name)
            .arg(std::chrono::duration_cast<std::chrono::seconds>(side.digitalSilence).count());
    if (side.level <= 0) return QStringLiteral("%1   –  dB").arg(name);
    return QStringLiteral("%1 %2 dB").arg(name).arg(20 * std::log10(side.level), 5, 'f', 1);
}

} // namespace

ProgressLine::ProgressLine() : m_rewrites(standardErrorIsTerminal()) {}

std::chrono::milliseconds ProgressLine::interval() const { return m_rewrites ? 200ms : 5000ms; }

QString ProgressLine::text(const CaptureStatistics& statistics, std::optional<std::int64_t> freeBytes) {
    QString line = elapsed(statistics.mixed) + QStringLiteral("  ") +
                   source(QStringLiteral("system"), statistics.system) + QStringLiteral("  ") +
                   source(QStringLiteral("microphone"), statistics.microphone);
    if (freeBytes) line += QStringLiteral("  %1 GB free").arg(static_cast<double>(*freeBytes) / 1e9, 0, 'f', 1);
    return line;
}

void ProgressLine::show(const CaptureStatistics& statistics, std::optional<std::int64_t> freeBytes) {
    const QString line = text(statistics, freeBytes);
    if (m_rewrites) {
        m_lineIsOpen = writeToStandardError("\r\033[K" + line.toUtf8(), 0ms) || m_lineIsOpen;
    } else {
        writeToStandardError(line.toUtf8() + '\n', 0ms);
    }
}

void ProgressLine::finish() {
    if (m_lineIsOpen) writeToStandardError("\n", 0ms);
    m_lineIsOpen = false;
}

void ProgressLine::complain(const QString& sentence) {
    finish();
    m_someoneReads = writeToStandardError("quillet: " + sentence.toUtf8() + '\n', m_someoneReads ? kPatience : 0ms);
}

} // namespace quillet::cli
