#include "App/ProviderSelection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

using enum AgentProvider;
using Mode = ProviderRoutingMode;
using ::testing::ElementsAre;

class ProviderSelectionTest : public ::testing::Test
{
protected:
    static constexpr Instant now{ 1000 };

    void exhaust(AgentProvider provider, std::optional<Instant> resetsAt = std::nullopt)
    {
        ProviderUsage report;
        report.provider = provider;
        report.exhausted = true;
        report.resetsAt = resetsAt;
        usage[provider] = report;
    }

    ProviderSelection::Situation situation(Mode mode = Mode::automatic, std::optional<AgentProvider> active = std::nullopt)
    {
        return { mode, active, usage,
            [this](AgentProvider provider) {
                asked.push_back(provider);
                return installed.contains(provider);
            },
            now };
    }

    std::set<AgentProvider> installed{ grok, codex, kimi, glm, claude };
    ProviderSelection::Usage usage;
    std::vector<AgentProvider> asked; // about availability, in order
};

TEST_F(ProviderSelectionTest, AutomaticFollowsTheFixedOrder)
{
    for (const AgentProvider expected : allAgentProviders) {
        EXPECT_EQ(ProviderSelection::providerForNextTurn(situation()), expected);
        installed.erase(expected);
    }
}

TEST_F(ProviderSelectionTest, NothingInstalledGivesNothingInAnyMode)
{
    installed.clear();
    for (const Mode mode : allProviderRoutingModes) {
        EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(mode)), std::nullopt);
    }
}

TEST_F(ProviderSelectionTest, APinnedProviderThatIsMissingGivesNothing)
{
    installed = { codex, kimi };
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::grok)), std::nullopt);
}

TEST_F(ProviderSelectionTest, APinnedProviderIsTakenAlthoughExhausted)
{
    exhaust(codex);
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::codex)), codex);
    EXPECT_TRUE(usage.contains(codex));
}

TEST_F(ProviderSelectionTest, AnExhaustedProviderIsSkippedInAutomatic)
{
    exhaust(grok);
    exhaust(codex);
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation()), kimi);
}

TEST_F(ProviderSelectionTest, AutomaticWithAllExhaustedGivesNothing)
{
    for (const AgentProvider provider : allAgentProviders) {
        exhaust(provider);
    }
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation()), std::nullopt);
}

TEST_F(ProviderSelectionTest, TheActiveProviderComesFirstSoThatATaskStays)
{
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic, kimi)), kimi);
    installed.erase(kimi);
    installed.erase(grok);
    installed.erase(codex);
    asked.clear();
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic, kimi)), glm);
    EXPECT_THAT(asked, ElementsAre(kimi, grok, codex, glm));
}

TEST_F(ProviderSelectionTest, AnExhaustedActiveProviderFallsBackIntoTheFixedOrder)
{
    exhaust(kimi);
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic, kimi)), grok);
    installed = { kimi, glm };
    asked.clear();
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic, kimi)), glm);
    EXPECT_THAT(asked, ElementsAre(grok, codex, kimi, glm));
}

TEST_F(ProviderSelectionTest, AnExcludedActiveProviderDoesNotComeFirst)
{
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic, kimi), { kimi }), grok);
    EXPECT_THAT(asked, ElementsAre(grok));
}

TEST_F(ProviderSelectionTest, AnExcludedProviderIsTakenInNoMode)
{
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::automatic), { grok, codex }), kimi);
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::kimi), { kimi }), std::nullopt);
    exhaust(kimi);
    EXPECT_EQ(ProviderSelection::providerForNextTurn(situation(Mode::kimi), { kimi }), std::nullopt);
}

TEST_F(ProviderSelectionTest, WithoutAReportNothingIsExhausted)
{
    EXPECT_FALSE(ProviderSelection::isExhausted(grok, usage, now));
    usage[grok].primaryUsedPercent = 100;
    EXPECT_FALSE(ProviderSelection::isExhausted(grok, usage, now));
    EXPECT_TRUE(usage.contains(grok));
}

TEST_F(ProviderSelectionTest, AReportWhoseRenewalHasComeIsRemovedByTheQuestion)
{
    exhaust(grok, Instant{ 999 });
    EXPECT_FALSE(ProviderSelection::isExhausted(grok, usage, now));
    EXPECT_FALSE(usage.contains(grok));
    exhaust(grok, now);
    EXPECT_FALSE(ProviderSelection::isExhausted(grok, usage, now));
    EXPECT_FALSE(usage.contains(grok));
}

TEST_F(ProviderSelectionTest, AReportThatIsNotExhaustedStaysAfterItsRenewal)
{
    usage[grok].resetsAt = Instant{ 1 };
    EXPECT_FALSE(ProviderSelection::isExhausted(grok, usage, now));
    EXPECT_TRUE(usage.contains(grok));
}

TEST_F(ProviderSelectionTest, AReportWhoseRenewalIsToComeStays)
{
    exhaust(grok, Instant{ 1000.5 });
    EXPECT_TRUE(ProviderSelection::isExhausted(grok, usage, now));
    EXPECT_TRUE(usage.contains(grok));
}

TEST_F(ProviderSelectionTest, AReportWithoutRenewalStaysExhausted)
{
    exhaust(grok);
    EXPECT_TRUE(ProviderSelection::isExhausted(grok, usage, Instant{ 1e12 }));
    EXPECT_TRUE(usage.contains(grok));
}

TEST_F(ProviderSelectionTest, TheSuccessorSkipsWhatIsMissingTriedOrExhausted)
{
    installed = { grok, kimi, glm, claude };
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(grok, { grok }, situation()), kimi);
    exhaust(kimi);
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(grok, { grok }, situation()), glm);
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(grok, { grok, glm }, situation()), claude);
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(grok, { grok, glm, claude }, situation()), std::nullopt);
}

TEST_F(ProviderSelectionTest, TheSuccessorMayStandBeforeTheOneThatRanOut)
{
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(claude, { claude }, situation()), grok);
}

TEST_F(ProviderSelectionTest, TheSuccessorIsNeverTheOneThatRanOut)
{
    installed = { kimi };
    EXPECT_EQ(ProviderSelection::nextAutomaticProvider(kimi, {}, situation()), std::nullopt);
}

} // namespace
} // namespace tessarin
