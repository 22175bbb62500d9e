#include "support/DateTexts.h"

#include "support/Require.h"

#include <QDateTime>

#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace quillet {

struct DateFormatter::Impl {
    std::unique_ptr<icu::SimpleDateFormat> format;
};

DateFormatter::DateFormatter(const char* pattern, const char* locale) : m_impl(std::make_unique<Impl>()) {
    UErrorCode status = U_ZERO_ERROR;
    m_impl->format =
        std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern), icu::Locale(locale), status);
    require(U_SUCCESS(status), "the locale data of ICU is missing");
    // Asked of the host each time: the process-wide default of ICU is fixed at its first use.
    m_impl->format->adoptTimeZone(icu::TimeZone::detectHostTimeZone());
}

DateFormatter::~DateFormatter() = default;

QString DateFormatter::format(WallTime time) const {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch()).count();
    icu::UnicodeString text;
    m_impl->format->format(static_cast<UDate>(milliseconds), text);
    return QString::fromUtf16(text.getBuffer(), text.length());
}

QString iso8601(WallTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch()).count();
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

} // namespace quillet
