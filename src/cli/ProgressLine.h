#pragma once

#include "capture/CaptureStatistics.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace quillet::cli {

/// How a recording is going, on standard error: one line that is rewritten on a terminal, a plain line now and then
/// elsewhere, and sentences about what went wrong. The recording is stopped by the thread that tells all this, so
/// nothing here waits long for a reader: a line that nobody takes at once is left out, a sentence after a moment. Main
/// thread.
class ProgressLine {
public:
    ProgressLine();

    /// How often show() is worth calling.
    [[nodiscard]] std::chrono::milliseconds interval() const;
    void show(const CaptureStatistics& statistics, std::optional<std::int64_t> freeBytes);
    /// Leaves the last line standing.
    void finish();
    /// A sentence of its own, below the line.
    void complain(const QString& sentence);

    /// The text of the line: elapsed time, a level in dBFS or a remark per source, free space.
    [[nodiscard]] static QString text(const CaptureStatistics& statistics, std::optional<std::int64_t> freeBytes);

private:
    const bool m_rewrites;
    bool m_lineIsOpen = false;
    bool m_someoneReads = true; ///< as far as the last sentence could tell; else the next ones do not wait either
};

} // namespace quillet::cli
