#include "support/DateTexts.h"

#include "support/Require.h"

#include <QDateTime>
#include <QLocale>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/measfmt.h>
#include <unicode/measunit.h>
#include <unicode/measure.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace quillet {
namespace {

QString toQString(const icu::UnicodeString& text) { return QString::fromUtf16(text.getBuffer(), text.length()); }

UDate toUDate(WallTime time) {
    return static_cast<UDate>(std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count());
}

icu::Locale noLanguage() { return icu::Locale("en_US_POSIX"); }

/// The locale of the user's dates: the environment's, and where it says nothing, the desktop's. Asked each time: the
/// process-wide default of ICU is fixed at its first use, and follows the language of messages.
icu::Locale currentLocale() {
    QString name;
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        if (name.isEmpty()) name = qEnvironmentVariable(variable);
    }
    if (name.isEmpty()) name = QLocale::system().name();
    // "de_DE.UTF-8@euro": the character set says nothing about dates, and of the modifiers only the scripts do.
    const QString modifier = name.section(QLatin1Char('@'), 1);
    const QString base = name.section(QLatin1Char('@'), 0, 0).section(QLatin1Char('.'), 0, 0);
    if (base == QLatin1String("C") || base == QLatin1String("POSIX")) return noLanguage();
    const QString language = base.section(QLatin1Char('_'), 0, 0);
    const QString country = base.section(QLatin1Char('_'), 1);
    const char* const script = modifier == QLatin1String("latin")      ? "_Latn"
                               : modifier == QLatin1String("cyrillic") ? "_Cyrl"
                                                                       : "";
    const QByteArray id = (language + QLatin1String(script) + QLatin1Char('_') + country).toLatin1();
    // What is no language counts as none: ICU has no month names for it, and crashes on names that are too long.
    if (id.size() >= ULOC_FULLNAME_CAPACITY) return noLanguage();
    const icu::Locale named(id.constData());
    return named.getISO3Language()[0] != '\0' ? named : noLanguage();
}

/// ICU and Qt read TZ each in their own way; the C library's reading is the one that the user sees everywhere else.
int presentOffsetMs() { return QDateTime::currentDateTime().offsetFromUtc() * 1000; }

std::unique_ptr<icu::TimeZone> hostTimeZone() {
    // Asked of the host each time: the process-wide default of ICU is fixed at its first use.
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
    UErrorCode status = U_ZERO_ERROR;
    int32_t standardMs = 0;
    int32_t summerMs = 0;
    if (zone) zone->getOffset(toUDate(std::chrono::system_clock::now()), false, standardMs, summerMs, status);
    if (zone && U_SUCCESS(status) && standardMs + summerMs == presentOffsetMs()) return zone;
    return std::make_unique<icu::SimpleTimeZone>(presentOffsetMs(), icu::UnicodeString("Etc/Unknown"));
}

} // namespace

struct DateFormatter::Impl {
    std::unique_ptr<icu::DateFormat> format;
};

DateFormatter::DateFormatter(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {
    require(m_impl->format != nullptr, "the locale data of ICU is missing");
    m_impl->format->adoptTimeZone(hostTimeZone().release());
}

DateFormatter::DateFormatter(const char* pattern, const char* locale)
    : DateFormatter([&] {
          UErrorCode status = U_ZERO_ERROR;
          auto format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern),
                                                                icu::Locale(locale), status);
          require(U_SUCCESS(status), "the locale data of ICU is missing");
          return std::make_unique<Impl>(Impl{std::move(format)});
      }()) {}

DateFormatter DateFormatter::longDateShortTime() {
    return DateFormatter(std::make_unique<Impl>(Impl{std::unique_ptr<icu::DateFormat>(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kLong, icu::DateFormat::kShort, currentLocale()))}));
}

DateFormatter::~DateFormatter() = default;

QString DateFormatter::format(WallTime time) const {
    icu::UnicodeString text;
    m_impl->format->format(toUDate(time), text);
    return toQString(text);
}

QString longDateShortTime(WallTime time) { return DateFormatter::longDateShortTime().format(time); }

QString abbreviatedDuration(double seconds) {
    if (!std::isfinite(seconds)) return {};
    UErrorCode status = U_ZERO_ERROR;
    const double whole = std::trunc(seconds);
    const std::array<std::pair<double, icu::MeasureUnit>, 3> units{{
        {std::trunc(whole / 3600), icu::MeasureUnit::getHour()},
        {std::trunc(std::fmod(whole, 3600) / 60), icu::MeasureUnit::getMinute()},
        {std::fmod(whole, 60), icu::MeasureUnit::getSecond()},
    }};
    std::vector<icu::Measure> measures;
    for (const auto& [count, unit] : units) {
        if (count != 0) measures.emplace_back(icu::Formattable(count), new icu::MeasureUnit(unit), status);
    }
    if (measures.empty()) return {};
    const icu::MeasureFormat format(currentLocale(), UMEASFMT_WIDTH_NARROW, status);
    icu::UnicodeString text;
    icu::FieldPosition position;
    format.formatMeasures(measures.data(), static_cast<int32_t>(measures.size()), text, position, status);
    require(U_SUCCESS(status), "the locale data of ICU is missing");
    return toQString(text);
}

QTimeZone presentTimeZone() {
    const QDateTime now = QDateTime::currentDateTime();
    const QTimeZone zone = QTimeZone::systemTimeZone();
    if (zone.isValid() && zone.offsetFromUtc(now) == now.offsetFromUtc()) return zone;
    return QTimeZone(now.offsetFromUtc());
}

QString iso8601(WallTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count();
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

} // namespace quillet
