#include "Views/RuntimeSettingsRules.h"

#include "Printing.h"

#include <gtest/gtest.h>

#include <set>

namespace tessarin
{

namespace
{

using RuntimeSettingsRules::State;
using RuntimeSettingsRules::words;

const State checking{ State::Kind::checking, std::nullopt, std::nullopt };
const State missing{ State::Kind::missing, std::nullopt, std::nullopt };

State installed(std::optional<std::string> version = std::nullopt, std::optional<bool> signedIn = std::nullopt)
{
    return { State::Kind::installed, std::move(version), signedIn };
}

TEST(RuntimeSettingsRulesTest, EachSectionHasItsHeading)
{
    QStringList headings;
    for (const AgentProvider provider : allAgentProviders) {
        headings.append(words(provider).heading);
    }
    EXPECT_EQ(headings, (QStringList{ "Grok Build CLI", "ChatGPT / Codex", "Kimi Code", "GLM Coding Plan", "Claude Code" }));
}

TEST(RuntimeSettingsRulesTest, AnEmptyPathSaysThatItIsSearched)
{
    for (const AgentProvider provider : allAgentProviders) {
        EXPECT_EQ(words(provider).pathTitle, provider == AgentProvider::glm ? "Auto-detect OpenCode" : "Auto-detect");
    }
}

TEST(RuntimeSettingsRulesTest, EachProgramIsChosenUnderItsName)
{
    QStringList titles;
    for (const AgentProvider provider : allAgentProviders) {
        titles.append(words(provider).chooserTitle);
    }
    EXPECT_EQ(titles,
        (QStringList{ "Choose the grok executable", "Choose the codex executable", "Choose the kimi executable",
            "Choose the opencode executable", "Choose the claude executable" }));
}

TEST(RuntimeSettingsRulesTest, EachVendorHasItsWordsForSigningIn)
{
    QStringList titles;
    for (const AgentProvider provider : allAgentProviders) {
        titles.append(words(provider).signInTitle);
    }
    EXPECT_EQ(titles,
        (QStringList{ "Log in with SuperGrok", "Log in with ChatGPT", "Log in with Kimi", "Set up Z.AI Plan", "Log in with Claude" }));
}

TEST(RuntimeSettingsRulesTest, TheCaptionsStandToTheLetter)
{
    EXPECT_EQ(words(AgentProvider::grok).captions, QStringList("Leave blank to search ~/.grok/bin, Homebrew, and your PATH."));
    EXPECT_EQ(words(AgentProvider::codex).captions, QStringList("Detects Codex inside the ChatGPT Mac app, Homebrew, and your PATH."));
    EXPECT_EQ(words(AgentProvider::kimi).captions,
        QStringList("Uses the official Kimi Code ACP runtime and your Kimi membership. Pay-per-use API-key variables are removed."));
    EXPECT_EQ(words(AgentProvider::glm).captions,
        QStringList("Experimental research connector. tessarin speaks ACP only to the official OpenCode runtime. OpenCode stores the Z.AI "
                    "Coding Plan key; tessarin never reads or uploads it."));
    EXPECT_EQ(words(AgentProvider::claude).captions,
        (QStringList{ "Experimental research connector using Claude Code's documented streaming and permission protocol. API-key, "
                      "custom-endpoint, Bedrock, Vertex, and Foundry overrides are removed so the local Claude login remains "
                      "authoritative.",
            "Claude Code may account non-interactive Agent SDK usage separately inside your subscription. Check your current Claude plan "
            "limits before relying on automatic handoff." }));
}

TEST(RuntimeSettingsRulesTest, OnlyGlmAndClaudeHaveAModelAndOnlyGlmARuleForIt)
{
    EXPECT_EQ(words(AgentProvider::glm).modelTitle, "zai-coding-plan/glm-4.7");
    EXPECT_EQ(words(AgentProvider::glm).modelCaption,
        "The model must begin with zai-coding-plan/glm-. This prevents fallback to another OpenCode provider or metered API.");
    EXPECT_EQ(words(AgentProvider::claude).modelTitle, "sonnet, opus, haiku, or a Claude model ID");
    EXPECT_EQ(words(AgentProvider::claude).modelCaption, "");
    for (const AgentProvider provider : { AgentProvider::grok, AgentProvider::codex, AgentProvider::kimi }) {
        EXPECT_EQ(words(provider).modelTitle, "");
        EXPECT_EQ(words(provider).modelCaption, "");
        EXPECT_EQ(RuntimeSettingsRules::keys(provider).model, nullptr);
    }
}

TEST(RuntimeSettingsRulesTest, TheInstallLinesNameTheVendorsScripts)
{
    EXPECT_EQ(words(AgentProvider::grok).installLine, "");
    EXPECT_EQ(words(AgentProvider::codex).installLine, "");
    EXPECT_EQ(words(AgentProvider::kimi).installLine, "Install: curl -fsSL https://code.kimi.com/kimi-code/install.sh | bash");
    EXPECT_EQ(words(AgentProvider::glm).installLine, "Install: curl -fsSL https://opencode.ai/install | bash");
    EXPECT_EQ(words(AgentProvider::claude).installLine, "Install: curl -fsSL https://claude.ai/install.sh | bash");
}

TEST(RuntimeSettingsRulesTest, WhatIsTypedIsStoredUnderTheKeysOfTheLocators)
{
    std::set<std::string> paths;
    for (const AgentProvider provider : allAgentProviders) {
        paths.insert(RuntimeSettingsRules::keys(provider).path);
    }
    EXPECT_EQ(paths,
        (std::set<std::string>{
            "grokExecutablePath", "codexExecutablePath", "kimiExecutablePath", "openCodeExecutablePath", "claudeExecutablePath" }));
    EXPECT_STREQ(RuntimeSettingsRules::keys(AgentProvider::glm).path, "openCodeExecutablePath");
    EXPECT_STREQ(RuntimeSettingsRules::keys(AgentProvider::glm).model, "openCodeGLMModel");
    EXPECT_STREQ(RuntimeSettingsRules::keys(AgentProvider::glm).defaultModel, "zai-coding-plan/glm-4.7");
    EXPECT_STREQ(RuntimeSettingsRules::keys(AgentProvider::claude).model, "claudeModel");
    EXPECT_STREQ(RuntimeSettingsRules::keys(AgentProvider::claude).defaultModel, "sonnet");
}

struct StatusRow {
    const char* name;
    AgentProvider provider;
    State state;
    const char* label;
    const char* symbol;
    Tint::Value tint;
};

class RuntimeStatusTest : public testing::TestWithParam<StatusRow>
{
};

TEST_P(RuntimeStatusTest, HasItsLabelItsSymbolAndItsColour)
{
    const StatusRow& row = GetParam();
    EXPECT_EQ(RuntimeSettingsRules::statusLabel(row.provider, row.state), row.label);
    EXPECT_EQ(RuntimeSettingsRules::statusSymbol(row.state), row.symbol);
    EXPECT_EQ(RuntimeSettingsRules::statusTint(row.state), row.tint);
}

constexpr const char* person = "person.crop.circle.badge.exclamationmark";
constexpr const char* good = "checkmark.circle.fill";
constexpr const char* bad = "xmark.circle.fill";

INSTANTIATE_TEST_SUITE_P(RuntimeSettingsRulesTest, RuntimeStatusTest,
    testing::Values(StatusRow{ "Checking", AgentProvider::grok, checking, "Checking…", "clock", Tint::Plain },
        StatusRow{ "CheckingGlm", AgentProvider::glm, checking, "Checking…", "clock", Tint::Plain },
        StatusRow{ "Missing", AgentProvider::kimi, missing, "Not installed", bad, Tint::Red },
        StatusRow{ "MissingOpenCode", AgentProvider::glm, missing, "OpenCode not installed", bad, Tint::Red },
        StatusRow{ "NoVersion", AgentProvider::grok, installed(), "Installed", good, Tint::Green },
        StatusRow{ "NoVersionOfOpenCode", AgentProvider::glm, installed(), "OpenCode installed", good, Tint::Green },
        StatusRow{ "Version", AgentProvider::grok, installed("grok 0.4.12"), "grok 0.4.12", good, Tint::Green },
        StatusRow{ "VersionOfOpenCode", AgentProvider::glm, installed("1.0.2"), "1.0.2", good, Tint::Green },
        StatusRow{ "VersionOfSeveralLines", AgentProvider::kimi,
            installed(
                "file:///opt/kimi/main.mjs:2\nimport { a } from 'node:util';\n         ^\r\n\nSyntaxError: no export\n\nNode.js v18.20.4"),
            "file:///opt/kimi/main.mjs:2 import { a } from 'node:util'; ^ SyntaxError: no export Node.js v18.20.4", good, Tint::Green },
        StatusRow{ "VersionInColour", AgentProvider::grok, installed("\x1b[1mgrok\x1b[0m 2"), "grok 2", good, Tint::Green },
        StatusRow{ "SignedIn", AgentProvider::codex, installed("codex 1", true), "codex 1", good, Tint::Green },
        StatusRow{ "SignInNeeded", AgentProvider::codex, installed("codex 1", false), "Sign-in needed", person, Tint::Orange },
        StatusRow{ "SignInNeededOfClaude", AgentProvider::claude, installed({}, false), "Sign-in needed", person, Tint::Orange },
        StatusRow{ "SignInNotKnown", AgentProvider::claude, installed("claude 2"), "claude 2", good, Tint::Green }),
    [](const testing::TestParamInfo<StatusRow>& row) { return std::string(row.param.name); });

TEST(RuntimeSettingsRulesTest, TheStateIsReadFromEveryVendorsStatus)
{
    const State codex = RuntimeSettingsRules::stateOf(CodexInstallStatus(InstalledWithSignIn{ "/bin/codex", "1", false }));
    EXPECT_EQ(codex.kind, State::Kind::installed);
    EXPECT_EQ(codex.version, "1");
    EXPECT_EQ(codex.signedIn, false);
    const State grok = RuntimeSettingsRules::stateOf(GrokInstallStatus(Installed{ "/bin/grok", "2" }));
    EXPECT_EQ(grok.version, "2");
    EXPECT_EQ(grok.signedIn, std::nullopt);
    EXPECT_EQ(RuntimeSettingsRules::stateOf(GrokInstallStatus()).kind, State::Kind::checking);
    EXPECT_EQ(RuntimeSettingsRules::stateOf(KimiInstallStatus(Missing())).kind, State::Kind::missing);
}

TEST(RuntimeSettingsRulesTest, OnlyCodexKimiAndClaudeShowTheirUsage)
{
    QList<bool> shown;
    for (const AgentProvider provider : allAgentProviders) {
        shown.append(RuntimeSettingsRules::showsUsage(provider));
    }
    EXPECT_EQ(shown, (QList<bool>{ false, true, true, false, true }));
}

TEST(RuntimeSettingsRulesTest, OnlyTheModelOfGlmIsJudged)
{
    EXPECT_TRUE(RuntimeSettingsRules::isModelAccepted(AgentProvider::glm, "zai-coding-plan/glm-4.7"));
    EXPECT_TRUE(RuntimeSettingsRules::isModelAccepted(AgentProvider::glm, "ZAI-coding-plan/GLM-5"));
    EXPECT_FALSE(RuntimeSettingsRules::isModelAccepted(AgentProvider::glm, "zai-coding-plan/other"));
    EXPECT_FALSE(RuntimeSettingsRules::isModelAccepted(AgentProvider::glm, ""));
    EXPECT_TRUE(RuntimeSettingsRules::isModelAccepted(AgentProvider::claude, "anything"));
}

} // namespace

} // namespace tessarin
