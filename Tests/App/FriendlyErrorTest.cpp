#include "App/FriendlyError.h"

#include "App/InstallMessage.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

constexpr const char* grokSignIn = "Grok needs you to sign in again. Use the Log in button; your SuperGrok subscription stays in the CLI.";

struct Row {
    AgentProvider provider;
    const char* text;
};

class FriendlyErrorOfAProvider : public ::testing::TestWithParam<Row>
{
};

TEST_P(FriendlyErrorOfAProvider, TellsHowToSignIn)
{
    EXPECT_EQ(friendlyError("Authentication required", GetParam().provider), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, FriendlyErrorOfAProvider,
    ::testing::Values(Row{ AgentProvider::grok, grokSignIn },
        Row{ AgentProvider::codex,
            "Codex needs you to sign in again. Use Log in with ChatGPT in Settings; tessarin does not use an API key." },
        Row{ AgentProvider::kimi,
            "Kimi needs you to sign in again. Use Log in with Kimi in Settings; tessarin removes pay-per-use API keys from the runtime." },
        Row{ AgentProvider::glm, grokSignIn }, Row{ AgentProvider::claude, grokSignIn }));

TEST(FriendlyError, KnowsTheWordsOfSignInInAnyCase)
{
    for (const char* text : { "OAUTH token expired", "please LogIn first", "Unauthorized", "author unknown" }) {
        EXPECT_EQ(friendlyError(text, AgentProvider::claude), grokSignIn) << text;
    }
}

TEST(FriendlyError, LeavesAnyOtherTextAsItIs)
{
    EXPECT_EQ(friendlyError("The model runtime disconnected.", AgentProvider::kimi), "The model runtime disconnected.");
    EXPECT_EQ(friendlyError("log in again", AgentProvider::codex), "log in again");
    EXPECT_EQ(friendlyError("", AgentProvider::grok), "");
}

TEST(FriendlyError, IsThatOfGrokWithoutAProvider)
{
    EXPECT_EQ(friendlyError("login"), grokSignIn);
}

class InstallMessageOfAProvider : public ::testing::TestWithParam<Row>
{
};

TEST_P(InstallMessageOfAProvider, TellsWhatToInstall)
{
    EXPECT_EQ(installMessage(GetParam().provider), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, InstallMessageOfAProvider,
    ::testing::Values(Row{ AgentProvider::grok, "Install the Grok CLI, then sign in with your SuperGrok account." },
        Row{ AgentProvider::codex, "Install Codex (or the ChatGPT Mac app), then sign in with your ChatGPT account." },
        Row{ AgentProvider::kimi, "Install Kimi Code, then sign in with your Kimi membership." },
        Row{ AgentProvider::glm, "Install OpenCode, configure Z.AI Coding Plan, and choose a zai-coding-plan/GLM model in Settings." },
        Row{ AgentProvider::claude, "Install Claude Code, then sign in with your Claude subscription." }));

} // namespace
} // namespace tessarin
