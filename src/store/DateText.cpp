#include "store/DateText.h"

#include <QTimeZone>
#include <chrono>

namespace {

// From Qt 6.5 on the time zone has a cheap form for this, and the older one is deprecated.
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
constexpr auto kUniversalTime = QTimeZone::UTC;
#else
constexpr auto kUniversalTime = Qt::UTC;
#endif

// Reads `count` digits at `at`; -1 if there is anything else.
int digits(QByteArrayView text, int at, int count) {
    int number = 0;
    for (int i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return -1;
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

} // namespace

QByteArray dateText(const QDateTime &date) {
    return date.isValid() ? date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toLatin1() + " +0000" : "";
}

QDateTime dateFromText(QByteArrayView text) {
    constexpr QByteArrayView form = "0000-00-00 00:00:00 +0000";
    constexpr int sign = 20;
    if (text.size() != form.size() || (text[sign] != '+' && text[sign] != '-'))
        return {};
    for (const int at : {4, 7, 10, 13, 16, 19})
        if (text[at] != form[at])
            return {};

    const int year = digits(text, 0, 4);
    const int month = digits(text, 5, 2);
    const int day = digits(text, 8, 2);
    const int hour = digits(text, 11, 2);
    const int minute = digits(text, 14, 2);
    const int second = digits(text, 17, 2);
    const int offsetHours = digits(text, sign + 1, 2);
    const int offsetMinutes = digits(text, sign + 3, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0 || offsetHours < 0 ||
        offsetMinutes < 0 || hour > 23 || minute > 59 || second > 59)
        return {};
    const std::chrono::year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    if (!date.ok())
        return {};
    const qint64 days = std::chrono::sys_days(date).time_since_epoch().count();
    const qint64 offset = (offsetHours * 60 + offsetMinutes) * (text[sign] == '-' ? -60 : 60);
    return QDateTime::fromMSecsSinceEpoch((days * 86400 + hour * 3600 + minute * 60 + second - offset) * 1000,
                                          kUniversalTime);
}
