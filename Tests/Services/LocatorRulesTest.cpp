#include "Services/LocatorRules.h"

#include <gtest/gtest.h>

namespace tessarin
{
namespace
{

RuntimeContext contextWith(const char* key, std::optional<std::string> value)
{
    RuntimeContext context;
    context.preference = [key, value](const std::string& asked) { return asked == key ? value : std::nullopt; };
    return context;
}

TEST(LocatorRulesTest, TheConfiguredModelIsTheStoredTextWithoutSpaceAroundIt)
{
    EXPECT_EQ(OpenCodeLocator::configuredModel(contextWith("openCodeGLMModel", " \tzai-coding-plan/glm-5\n")), "zai-coding-plan/glm-5");
    EXPECT_EQ(ClaudeLocator::configuredModel(contextWith("claudeModel", "\n opus 4 ")), "opus 4");
}

TEST(LocatorRulesTest, WithNothingStoredOrOnlySpacesTheModelIsTheDefault)
{
    for (const std::optional<std::string>& stored :
        { std::optional<std::string>(), std::optional<std::string>(""), std::optional<std::string>(" \n\t ") }) {
        EXPECT_EQ(OpenCodeLocator::configuredModel(contextWith("openCodeGLMModel", stored)), "zai-coding-plan/glm-4.7");
        EXPECT_EQ(ClaudeLocator::configuredModel(contextWith("claudeModel", stored)), "sonnet");
    }
    EXPECT_EQ(ClaudeLocator::configuredModel(RuntimeContext()), "sonnet");
}

TEST(LocatorRulesTest, TheTwoModelsAreStoredUnderKeysOfTheirOwn)
{
    EXPECT_EQ(ClaudeLocator::configuredModel(contextWith("openCodeGLMModel", "other")), "sonnet");
    EXPECT_EQ(OpenCodeLocator::configuredModel(contextWith("claudeModel", "other")), "zai-coding-plan/glm-4.7");
}

TEST(LocatorRulesTest, ACodingPlanModelHasThePrefixInAnyMixOfCapitals)
{
    for (const char* model : { "zai-coding-plan/glm-4.7", "ZAI-Coding-Plan/GLM-4.7", "zai-coding-plan/glm-" })
        EXPECT_TRUE(OpenCodeLocator::isCodingPlanModel(model)) << model;
    for (const char* model : { "", "zai-coding-plan/", "zai-coding-plan/glm", "zai-coding-plan/other-1", "zai/glm-4.7", "openai/gpt-5",
             " zai-coding-plan/glm-4.7", "x/zai-coding-plan/glm-4.7" })
        EXPECT_FALSE(OpenCodeLocator::isCodingPlanModel(model)) << model;
}

struct Row {
    int status;
    const char* text;
    std::optional<bool> codex;
    std::optional<bool> claude;
};

TEST(LocatorRulesTest, SignedInFollowsTheOrderOfTheTests)
{
    const Row rows[] = {
        { 0, "", true, true },
        { 0, "Not logged in", true, true },
        { 0, "authentication required", true, true },
        { 1, "", std::nullopt, false },
        { 2, "", std::nullopt, std::nullopt },
        { -1, "", std::nullopt, std::nullopt },
        { 127, "no such program", std::nullopt, std::nullopt },
        // "not logged in" contains "logged in", whatever the status.
        { 1, "Not logged in", true, true },
        { 2, "not logged in", true, true },
        { 1, "LOGGED IN using ChatGPT", true, true },
        { 2, "You are authenticated.", true, std::nullopt },
        { 2, "Unauthenticated", true, std::nullopt },
        { 2, "Please run codex login", false, std::nullopt },
        { 2, "LOGIN", false, std::nullopt },
        { 2, "Authentication failed", false, std::nullopt },
        { 2, "not logged", std::nullopt, false },
        { 2, "Not Logged yet", std::nullopt, false },
        { 1, "{\"loggedIn\":true}", std::nullopt, true },
        { 2, "{\"LOGGEDIN\":TRUE,\"x\":1}", std::nullopt, true },
        { 2, "{\"loggedIn\":false}", std::nullopt, false },
        { 1, "{\"loggedIn\":false}", std::nullopt, false },
        // A blank after the colon matches neither fragment.
        { 2, "{\"loggedIn\": true}", std::nullopt, std::nullopt },
        { 0, "{\n  \"loggedIn\": true,\n  \"authMethod\": \"claude.ai\"\n}", true, true },
        { 1, "{\"loggedIn\": true}", std::nullopt, false },
        { 2, "{\"loggedIn\": false}", std::nullopt, std::nullopt },
        { 2, "loggedIn:true", std::nullopt, std::nullopt },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(CodexLocator::signedIn(row.status, row.text), row.codex) << row.status << " " << row.text;
        EXPECT_EQ(ClaudeLocator::signedIn(row.status, row.text), row.claude) << row.status << " " << row.text;
    }
}

} // namespace
} // namespace tessarin
