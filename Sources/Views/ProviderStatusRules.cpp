#include "Views/ProviderStatusRules.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace tessarin::ProviderStatusRules
{

namespace
{

// An abbreviated date with a short time.
QString momentText(Instant moment, const QLocale& person)
{
    constexpr double farthest = 1e11; // seconds; some three thousand years, so that no reported number leaves the calendar
    const double seconds = moment.secondsSince1970();
    if (std::isnan(seconds)) {
        return {};
    }
    const QDateTime when = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::clamp(seconds, -farthest, farthest)));
    const QLocale english(QLocale::English, person.territory());
    QString date = english.dateFormat(QLocale::LongFormat);
    date.remove(QStringLiteral("dddd, ")).remove(QStringLiteral("dddd ")).replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return english.toString(when.date(), date) + QStringLiteral(" at ") + english.toString(when.time(), QLocale::ShortFormat);
}

} // namespace

QString symbol(std::optional<AgentProvider> active)
{
    return active ? QString::fromUtf8(systemImage(*active)) : QStringLiteral("arrow.triangle.branch");
}

QString usageText(const ProviderUsage* usage)
{
    return usage == nullptr ? QString() : QStringLiteral("· ") + QString::fromStdString(usage->compactLabel());
}

Tint::Value usageTint(const ProviderUsage* usage)
{
    return usage != nullptr && usage->exhausted ? Tint::Red : Tint::Secondary;
}

QString help(std::optional<AgentProvider> active, const ProviderUsage* usage, ProviderRoutingMode mode, const QLocale& person)
{
    if (!active || usage == nullptr) {
        return QString::fromUtf8(detail(mode));
    }
    const QString state = QString::fromUtf8(label(*active)) + QStringLiteral(": ") + QString::fromStdString(usage->compactLabel());
    const QString renewal = usage->resetsAt ? momentText(*usage->resetsAt, person) : QString();
    return renewal.isEmpty() ? state + QLatin1Char('.') : state + QStringLiteral(". Resets ") + renewal + QLatin1Char('.');
}

} // namespace tessarin::ProviderStatusRules
