#pragma once

#include <QString>
#include <QTimeZone>

#include <chrono>
#include <memory>

namespace quillet {

using WallTime = std::chrono::system_clock::time_point;

/// Formats wall-clock times. The time zone is the user's at creation. One thread at a time.
class DateFormatter {
public:
    /// By an ICU pattern (Unicode Technical Standard 35, part 4) in a fixed locale.
    DateFormatter(const char* pattern, const char* locale);
    /// Date in long style and time in short style, in the user's language at creation. The bytes are the locale data's
    /// own: between the minutes and AM or PM may stand a narrow no-break space.
    static DateFormatter longDateShortTime();
    ~DateFormatter();
    DateFormatter(const DateFormatter&) = delete;
    DateFormatter& operator=(const DateFormatter&) = delete;

    [[nodiscard]] QString format(WallTime time) const;

private:
    struct Impl;
    explicit DateFormatter(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

/// The same in the user's language and time zone of this moment.
[[nodiscard]] QString longDateShortTime(WallTime time);

/// Hours, minutes and whole seconds in the user's language, abbreviated, without the units that are zero: "1h 2m 5s".
/// Empty when all of them are.
[[nodiscard]] QString abbreviatedDuration(double seconds);

/// The user's time zone of this moment. Where TZ says what only the C library understands, its present offset.
[[nodiscard]] QTimeZone presentTimeZone();

/// ISO 8601 in UTC with seconds: 2025-03-14T08:05:00Z.
[[nodiscard]] QString iso8601(WallTime time);

} // namespace quillet
