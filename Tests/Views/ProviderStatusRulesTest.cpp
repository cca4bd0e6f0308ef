#include "Views/ProviderStatusRules.h"

#include "Printing.h"

#include <QDateTime>
#include <gtest/gtest.h>

#include <limits>

namespace tessarin
{

namespace
{

using Mode = ProviderRoutingMode;

const QLocale unitedStates(QLocale::English, QLocale::UnitedStates);

ProviderUsage report(AgentProvider provider, std::optional<double> percent, bool isExhausted = false)
{
    ProviderUsage usage;
    usage.provider = provider;
    usage.primaryUsedPercent = percent;
    usage.exhausted = isExhausted;
    return usage;
}

ProviderUsage renewedAt(double secondsSince1970)
{
    ProviderUsage usage = report(AgentProvider::codex, 100, true);
    usage.resetsAt = Instant::fromSecondsSince1970(secondsSince1970);
    return usage;
}

// A quarter past three in the afternoon, local time.
double afternoon()
{
    return static_cast<double>(QDateTime(QDate(2026, 11, 21), QTime(15, 15, 40)).toSecsSinceEpoch());
}

QString help(const ProviderUsage& usage, const QLocale& person = unitedStates)
{
    // Later versions of the locale data put a narrow blank before AM and PM.
    return ProviderStatusRules::help(usage.provider, &usage, Mode::automatic, person).replace(QChar(0x202f), QLatin1Char(' '));
}

TEST(ProviderStatusRules, TheSymbolIsTheProvidersOrTheBranch)
{
    EXPECT_EQ(ProviderStatusRules::symbol(std::nullopt), "arrow.triangle.branch");
    EXPECT_EQ(ProviderStatusRules::symbol(AgentProvider::grok), "xmark");
    EXPECT_EQ(ProviderStatusRules::symbol(AgentProvider::codex), "sparkles");
    EXPECT_EQ(ProviderStatusRules::symbol(AgentProvider::kimi), "moon.stars.fill");
    EXPECT_EQ(ProviderStatusRules::symbol(AgentProvider::glm), "cube.transparent.fill");
    EXPECT_EQ(ProviderStatusRules::symbol(AgentProvider::claude), "circle.hexagongrid.fill");
}

TEST(ProviderStatusRules, TheUsageStandsBehindADot)
{
    const ProviderUsage percent = report(AgentProvider::codex, 41.5);
    const ProviderUsage limit = report(AgentProvider::grok, std::nullopt, true);
    const ProviderUsage nothing = report(AgentProvider::kimi, std::nullopt);
    EXPECT_EQ(ProviderStatusRules::usageText(&percent), "· 42% used");
    EXPECT_EQ(ProviderStatusRules::usageText(&limit), "· Limit reached");
    EXPECT_EQ(ProviderStatusRules::usageText(&nothing), "· Usage unavailable");
}

TEST(ProviderStatusRules, WithoutAReportThereIsNoUsage)
{
    EXPECT_EQ(ProviderStatusRules::usageText(nullptr), "");
    EXPECT_EQ(ProviderStatusRules::usageTint(nullptr), Tint::Secondary);
}

TEST(ProviderStatusRules, OnlyAnExhaustedReportIsRed)
{
    const ProviderUsage full = report(AgentProvider::claude, 100, false);
    const ProviderUsage exhausted = report(AgentProvider::claude, 12, true);
    EXPECT_EQ(ProviderStatusRules::usageTint(&full), Tint::Secondary);
    EXPECT_EQ(ProviderStatusRules::usageTint(&exhausted), Tint::Red);
}

TEST(ProviderStatusRules, TheHelpNamesProviderAndUsage)
{
    EXPECT_EQ(help(report(AgentProvider::codex, 41.5)), "ChatGPT / Codex: 42% used.");
    EXPECT_EQ(help(report(AgentProvider::glm, std::nullopt, true)), "GLM Coding Plan: Limit reached.");
}

TEST(ProviderStatusRules, TheHelpTellsWhenTheAllowanceRenews)
{
    EXPECT_EQ(help(renewedAt(afternoon())), "ChatGPT / Codex: 100% used. Resets Nov 21, 2026 at 3:15 PM.");
}

TEST(ProviderStatusRules, TheRenewalFollowsThePersonsCountryInEnglish)
{
    const ProviderUsage usage = renewedAt(afternoon());
    const QString begin = QStringLiteral("ChatGPT / Codex: 100% used. Resets ");
    EXPECT_EQ(help(usage, QLocale(QLocale::English, QLocale::UnitedKingdom)), begin + "21 Nov 2026 at 15:15.");
    EXPECT_EQ(help(usage, QLocale(QLocale::German, QLocale::Germany)), begin + "21 Nov 2026 at 15:15.");
    EXPECT_EQ(help(usage, QLocale::c()), begin + "Nov 21, 2026 at 3:15 PM.");
}

TEST(ProviderStatusRules, ARenewalBeyondTheCalendarIsToldWithoutHarm)
{
    EXPECT_TRUE(help(renewedAt(1e300)).startsWith("ChatGPT / Codex: 100% used. Resets "));
    EXPECT_TRUE(help(renewedAt(-1e300)).startsWith("ChatGPT / Codex: 100% used. Resets "));
    EXPECT_EQ(help(renewedAt(std::numeric_limits<double>::quiet_NaN())), "ChatGPT / Codex: 100% used.");
}

TEST(ProviderStatusRules, InAllOtherCasesTheHelpIsThatOfTheRouting)
{
    const ProviderUsage usage = report(AgentProvider::codex, 10);
    EXPECT_EQ(ProviderStatusRules::help(std::nullopt, nullptr, Mode::automatic),
        "Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted.");
    EXPECT_EQ(ProviderStatusRules::help(std::nullopt, &usage, Mode::kimi), "Always use the signed-in Kimi membership through Kimi Code.");
    EXPECT_EQ(ProviderStatusRules::help(AgentProvider::codex, nullptr, Mode::grok), "Always use the signed-in SuperGrok subscription.");
}

} // namespace

} // namespace tessarin
