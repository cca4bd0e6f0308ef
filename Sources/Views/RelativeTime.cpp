#include "Views/RelativeTime.h"

#include <QDateTime>

#include <algorithm>

namespace tessarin
{

namespace
{

QString ago(qint64 count, const char* unit)
{
    return QStringLiteral("%1 %2%3 ago").arg(count).arg(QLatin1String(unit), count == 1 ? QLatin1String() : QLatin1String("s"));
}

QDate localDay(Instant moment)
{
    constexpr double farthest = 1e11; // seconds; some three thousand years, so that no stored number leaves the calendar
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::clamp(moment.secondsSince1970(), -farthest, farthest))).date();
}

QString daysAgo(qint64 days)
{
    constexpr qint64 week = 7;
    constexpr qint64 month = 30;
    constexpr qint64 year = 365;
    if (days <= 1) {
        return QStringLiteral("yesterday");
    }
    if (days < week) {
        return ago(days, "day");
    }
    if (days < 2 * week) {
        return QStringLiteral("last week");
    }
    if (days < month) {
        return ago(days / week, "week");
    }
    if (days < 2 * month) {
        return QStringLiteral("last month");
    }
    if (days < year) {
        return ago(days / month, "month");
    }
    return days < 2 * year ? QStringLiteral("last year") : ago(days / year, "year");
}

} // namespace

QString relativeTime(Instant moment, Instant now)
{
    constexpr double minute = 60;
    constexpr double hour = 60 * minute;
    constexpr double day = 24 * hour;
    const double seconds = now.secondsSince2001 - moment.secondsSince2001;
    if (!(seconds >= minute)) { // a stored value that is no number is no past moment either
        return QStringLiteral("just now");
    }
    if (seconds < hour) {
        return ago(static_cast<qint64>(seconds / minute), "minute");
    }
    if (seconds < day) {
        return ago(static_cast<qint64>(seconds / hour), "hour");
    }
    return daysAgo(localDay(moment).daysTo(localDay(now)));
}

} // namespace tessarin
