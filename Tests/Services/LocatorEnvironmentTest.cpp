#include "Platform/Files.h"
#include "Platform/Uuid.h"
#include "Services/Locators.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tessarin
{
namespace
{

struct Rule {
    const char* name;
    Environment (*environment)(const RuntimeContext&);
    const char* foldersOnMacOS; // below a home folder "/h", up to the old PATH
    const char* foldersOnLinux;
    const char* missingPath;
    std::vector<std::string> removed;
    Environment added;
};

void PrintTo(const Rule& rule, std::ostream* out)
{
    *out << rule.name;
}

// Every variable that any of the five removes, and some that nobody does.
Environment fullEnvironment()
{
    Environment environment
        = { { "PATH", "/old:/path" }, { "HOME", "/h" }, { "LANG", "de_CH.UTF-8" }, { "SSH_AUTH_SOCK", "/tmp/s" }, { "EMPTY", "" } };
    for (const char* key : { "OPENAI_API_KEY", "CODEX_API_KEY", "KIMI_API_KEY", "MOONSHOT_API_KEY", "ANTHROPIC_API_KEY", "XAI_API_KEY",
             "ANTHROPIC_AUTH_TOKEN", "ANTHROPIC_BASE_URL", "CLAUDE_CODE_USE_BEDROCK", "CLAUDE_CODE_USE_VERTEX", "CLAUDE_CODE_USE_FOUNDRY",
             "CLAUDECODE", "ZAI_API_KEY", "CLAUDE_CODE_ENTRYPOINT" })
        environment[key] = "secret";
    return environment;
}

const std::vector<Rule>& rules()
{
    static const std::vector<Rule> all = {
        { "Grok", &GrokLocator::augmentedEnvironment, "/h/.grok/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:",
            "/h/.grok/bin:/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin:", "", {}, {} },
        { "Codex", &CodexLocator::subscriptionEnvironment, "/opt/homebrew/bin:/usr/local/bin:/h/.local/bin:",
            "/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/h/.local/bin:", "/usr/bin:/bin:/usr/sbin:/sbin",
            { "OPENAI_API_KEY", "CODEX_API_KEY" }, {} },
        { "Kimi", &KimiLocator::subscriptionEnvironment, "/h/.local/bin:/h/.npm-global/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:",
            "/h/.local/bin:/h/.npm-global/bin:/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin:", "",
            { "KIMI_API_KEY", "MOONSHOT_API_KEY", "OPENAI_API_KEY", "ANTHROPIC_API_KEY" }, {} },
        { "OpenCode", &OpenCodeLocator::subscriptionEnvironment,
            "/h/.opencode/bin:/h/.local/bin:/h/.npm-global/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:",
            "/h/.opencode/bin:/h/.local/bin:/h/.npm-global/bin:/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin:", "",
            { "OPENAI_API_KEY", "ANTHROPIC_API_KEY", "XAI_API_KEY", "KIMI_API_KEY", "MOONSHOT_API_KEY" }, {} },
        { "Claude", &ClaudeLocator::subscriptionEnvironment,
            "/h/.local/bin:/h/.claude/local:/h/.npm-global/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:",
            "/h/.local/bin:/h/.claude/local:/h/.npm-global/bin:/home/linuxbrew/.linuxbrew/bin:/usr/local/bin:/usr/bin:/bin:", "",
            { "ANTHROPIC_API_KEY", "ANTHROPIC_AUTH_TOKEN", "ANTHROPIC_BASE_URL", "CLAUDE_CODE_USE_BEDROCK", "CLAUDE_CODE_USE_VERTEX",
                "CLAUDE_CODE_USE_FOUNDRY", "CLAUDECODE" },
            { { "CLAUDE_CODE_ENTRYPOINT", "tessarin" } } },
    };
    return all;
}

class LocatorEnvironmentTest : public ::testing::TestWithParam<Rule>
{
protected:
    static RuntimeContext contextWith(Environment environment, LocatorPlatform platform)
    {
        RuntimeContext context;
        context.environment = std::move(environment);
        context.home = "/h";
        context.platform = platform;
        return context;
    }
    static std::string pathFrom(Environment environment, LocatorPlatform platform = LocatorPlatform::linux)
    {
        return GetParam().environment(contextWith(std::move(environment), platform)).at("PATH");
    }
};

TEST_P(LocatorEnvironmentTest, PutsItsFoldersInFrontOfPath)
{
    EXPECT_EQ(pathFrom({ { "PATH", "/old:/path" } }, LocatorPlatform::macOS), std::string(GetParam().foldersOnMacOS) + "/old:/path");
    EXPECT_EQ(pathFrom({ { "PATH", "/old:/path" } }, LocatorPlatform::linux), std::string(GetParam().foldersOnLinux) + "/old:/path");
}

TEST_P(LocatorEnvironmentTest, KeepsTheOldPathAsItStands)
{
    EXPECT_EQ(pathFrom({ { "PATH", ":/a::" } }), std::string(GetParam().foldersOnLinux) + ":/a::");
    EXPECT_EQ(pathFrom({ { "PATH", "" } }), GetParam().foldersOnLinux) << "an empty PATH is not a missing one";
}

TEST_P(LocatorEnvironmentTest, AMissingPathLeavesATrailingColonOrTheFallback)
{
    EXPECT_EQ(pathFrom({}), std::string(GetParam().foldersOnLinux) + GetParam().missingPath);
    EXPECT_EQ(pathFrom({}, LocatorPlatform::macOS), std::string(GetParam().foldersOnMacOS) + GetParam().missingPath);
}

TEST_P(LocatorEnvironmentTest, RemovesAndAddsItsOwnVariablesAndKeepsAllOthers)
{
    for (const LocatorPlatform platform : { LocatorPlatform::macOS, LocatorPlatform::linux }) {
        Environment expected = fullEnvironment();
        for (const std::string& key : GetParam().removed)
            EXPECT_EQ(expected.erase(key), 1U) << key;
        for (const auto& [key, value] : GetParam().added)
            expected[key] = value;
        Environment environment = GetParam().environment(contextWith(fullEnvironment(), platform));
        expected.erase("PATH");
        environment.erase("PATH");
        EXPECT_EQ(environment, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, LocatorEnvironmentTest, ::testing::ValuesIn(rules()), [](const auto& row) { return row.param.name; });

TEST(LocatorEnvironmentEdgeTest, GroksPathEndsInAColonAndCodexsInItsFallbackWherePathIsAbsent)
{
    RuntimeContext context;
    context.home = "/h";
    EXPECT_TRUE(GrokLocator::augmentedEnvironment(context).at("PATH").ends_with("/bin:"));
    EXPECT_TRUE(CodexLocator::subscriptionEnvironment(context).at("PATH").ends_with("/.local/bin:/usr/bin:/bin:/usr/sbin:/sbin"));
}

TEST(RuntimeContextTest, IsThatOfThisProcess)
{
    const std::string folder = ::testing::TempDir() + "runtime-context-" + Uuid::random().text();
    Preferences preferences({ folder + "/configuration", folder + "/data" });
    preferences.setText("grokExecutablePath", "/first");
    const RuntimeContext context = RuntimeContext::current(preferences);
    EXPECT_EQ(context.environment, processEnvironment());
    EXPECT_EQ(context.home, homeDirectory());
    EXPECT_EQ(context.preference("grokExecutablePath"), "/first");
    EXPECT_EQ(context.preference("kimiExecutablePath"), std::nullopt);
    preferences.setText("grokExecutablePath", "/second");
    EXPECT_EQ(context.preference("grokExecutablePath"), "/second") << "settings are read when they are needed";
    preferences.flush();
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace tessarin
