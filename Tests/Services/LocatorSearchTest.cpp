#include "ScriptedRuntime.h"
#include "Services/LocatorRules.h"
#include "Services/RuntimeProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace tessarin
{
namespace
{

using ::testing::ElementsAre;
namespace fs = std::filesystem;

struct Locator {
    const char* program;
    const char* customPathKey;
    std::vector<std::string> (*candidates)(const RuntimeContext&);
    std::optional<std::string> (*findExecutable)(const RuntimeContext&);
    std::vector<std::string> onMacOS; // below a home folder "/h"
    std::vector<std::string> onLinux;
    bool acceptsFolders;
};

void PrintTo(const Locator& locator, std::ostream* out)
{
    *out << locator.program;
}

const std::vector<Locator>& locators()
{
    static const std::vector<Locator> all = {
        { "grok", "grokExecutablePath", &GrokLocator::candidates, &GrokLocator::findExecutable,
            { "/h/.grok/bin/grok", "/opt/homebrew/bin/grok", "/usr/local/bin/grok", "/usr/bin/grok" },
            { "/h/.grok/bin/grok", "/home/linuxbrew/.linuxbrew/bin/grok", "/usr/local/bin/grok", "/usr/bin/grok" }, false },
        { "codex", "codexExecutablePath", &CodexLocator::candidates, &CodexLocator::findExecutable,
            { "/Applications/ChatGPT.app/Contents/Resources/codex", "/opt/homebrew/bin/codex", "/usr/local/bin/codex",
                "/h/.local/bin/codex", "/h/.npm-global/bin/codex" },
            { "/home/linuxbrew/.linuxbrew/bin/codex", "/usr/local/bin/codex", "/h/.local/bin/codex", "/h/.npm-global/bin/codex" }, true },
        { "kimi", "kimiExecutablePath", &KimiLocator::candidates, &KimiLocator::findExecutable,
            { "/h/.local/bin/kimi", "/h/.npm-global/bin/kimi", "/opt/homebrew/bin/kimi", "/usr/local/bin/kimi", "/usr/bin/kimi" },
            { "/h/.local/bin/kimi", "/h/.npm-global/bin/kimi", "/home/linuxbrew/.linuxbrew/bin/kimi", "/usr/local/bin/kimi",
                "/usr/bin/kimi" },
            false },
        { "opencode", "openCodeExecutablePath", &OpenCodeLocator::candidates, &OpenCodeLocator::findExecutable,
            { "/h/.opencode/bin/opencode", "/h/.local/bin/opencode", "/h/.npm-global/bin/opencode", "/opt/homebrew/bin/opencode",
                "/usr/local/bin/opencode" },
            { "/h/.opencode/bin/opencode", "/h/.local/bin/opencode", "/h/.npm-global/bin/opencode",
                "/home/linuxbrew/.linuxbrew/bin/opencode", "/usr/local/bin/opencode" },
            true },
        { "claude", "claudeExecutablePath", &ClaudeLocator::candidates, &ClaudeLocator::findExecutable,
            { "/h/.local/bin/claude", "/h/.claude/local/claude", "/h/.npm-global/bin/claude", "/h/node_modules/.bin/claude",
                "/h/.yarn/bin/claude", "/opt/homebrew/bin/claude", "/usr/local/bin/claude" },
            { "/h/.local/bin/claude", "/h/.claude/local/claude", "/h/.npm-global/bin/claude", "/h/node_modules/.bin/claude",
                "/h/.yarn/bin/claude", "/home/linuxbrew/.linuxbrew/bin/claude", "/usr/local/bin/claude" },
            true },
    };
    return all;
}

class LocatorSearchTest : public ::testing::TestWithParam<Locator>
{
protected:
    [[nodiscard]] RuntimeContext contextIn(const std::string& home) const
    {
        RuntimeContext context;
        context.preference = [this](const std::string& key) -> std::optional<std::string> {
            return key == GetParam().customPathKey ? m_customPath : std::nullopt;
        };
        context.home = home;
        return context;
    }
    [[nodiscard]] RuntimeContext realContext() const { return contextIn(m_files.home()); }
    [[nodiscard]] std::string folder(const std::string& name) const
    {
        const std::string path = m_files.directory() + "/" + name;
        fs::create_directories(path);
        return path;
    }
    static std::string makeFile(const std::string& path, bool isExecutable = true)
    {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << "#!/bin/sh\n";
        fs::permissions(path, isExecutable ? fs::perms::owner_all : fs::perms::owner_read);
        return path;
    }
    [[nodiscard]] std::string program() const { return GetParam().program; }
    // The first of the fixed places that lies below the home folder, made executable.
    std::string installAtHome()
    {
        for (const std::string& candidate : GetParam().candidates(realContext()))
            if (candidate.starts_with(m_files.home()))
                return makeFile(candidate);
        return {};
    }
    // What a search has to give that the test lets end at `path`: a place that belongs to the whole machine may come before it
    // and have the program, and then that is right.
    [[nodiscard]] std::optional<std::string> orOneOfTheMachine(const RuntimeContext& context, const std::optional<std::string>& path) const
    {
        for (const std::string& candidate : GetParam().candidates(context)) {
            if (candidate == path)
                return path;
            if (!candidate.starts_with(m_files.directory()) && ::access(candidate.c_str(), X_OK) == 0)
                return candidate;
        }
        return path;
    }

    testing::ScriptedRuntime m_files;
    std::optional<std::string> m_customPath;
};

TEST_P(LocatorSearchTest, TriesTheFixedPlacesOfMacOSInTheirOrder)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::macOS;
    EXPECT_EQ(GetParam().candidates(context), GetParam().onMacOS);
}

TEST_P(LocatorSearchTest, TriesTheFixedPlacesOfLinuxInTheirOrder)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::linux;
    EXPECT_EQ(GetParam().candidates(context), GetParam().onLinux);
}

TEST_P(LocatorSearchTest, PutsTheCustomPathFirstAndPathLast)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::linux;
    m_customPath = "/own/place";
    context.environment = { { "PATH", "/first:/second/:relative" } };
    std::vector<std::string> expected = GetParam().onLinux;
    expected.insert(expected.begin(), "/own/place");
    for (const char* folder : { "/first/", "/second//", "relative/" })
        expected.push_back(folder + program());
    EXPECT_EQ(GetParam().candidates(context), expected);
}

TEST_P(LocatorSearchTest, EmptyPartsOfPathAddNoCandidate)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::linux;
    for (const char* path : { "", ":", ":::" }) {
        context.environment = { { "PATH", path } };
        EXPECT_EQ(GetParam().candidates(context), GetParam().onLinux) << path;
    }
    context.environment = { { "PATH", ":/a::/b:" } };
    std::vector<std::string> expected = GetParam().onLinux;
    expected.push_back("/a/" + program());
    expected.push_back("/b/" + program());
    EXPECT_EQ(GetParam().candidates(context), expected);
}

TEST_P(LocatorSearchTest, ACustomPathOfOnlySpacesCountsAsAbsent)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::linux;
    for (const char* custom : { "", "   ", " \t\n\r\n", "\u00a0\u2003" }) {
        m_customPath = custom;
        EXPECT_EQ(GetParam().candidates(context), GetParam().onLinux);
    }
}

TEST_P(LocatorSearchTest, ACustomPathIsTrimmedAndItsTildeExpanded)
{
    const RuntimeContext context = contextIn("/h");
    m_customPath = "  ~/my tools/agent \n";
    EXPECT_EQ(GetParam().candidates(context).front(), "/h/my tools/agent");
    m_customPath = "/a/~/agent";
    EXPECT_EQ(GetParam().candidates(context).front(), "/a/~/agent") << "only a leading tilde stands for the home folder";
}

TEST_P(LocatorSearchTest, WithoutSettingsTheFixedPlacesAreTried)
{
    RuntimeContext context = contextIn("/h");
    context.platform = LocatorPlatform::linux;
    context.preference = {};
    EXPECT_EQ(GetParam().candidates(context), GetParam().onLinux);
}

TEST_P(LocatorSearchTest, FindsTheCustomPathBeforeEverythingElse)
{
    installAtHome();
    const std::string own = makeFile(folder("own tools") + "/another name");
    m_customPath = " " + own + " ";
    EXPECT_EQ(GetParam().findExecutable(realContext()), own);
    const std::string atHome = makeFile(m_files.home() + "/mine/agent");
    m_customPath = "~/mine/agent";
    EXPECT_EQ(GetParam().findExecutable(realContext()), atHome);
}

TEST_P(LocatorSearchTest, ACustomPathThatIsNoProgramFallsThroughToTheList)
{
    const std::string atHome = installAtHome();
    for (const std::string& custom : { makeFile(folder("x") + "/plain", false), m_files.directory() + "/missing" }) {
        m_customPath = custom;
        EXPECT_EQ(GetParam().findExecutable(realContext()), orOneOfTheMachine(realContext(), atHome)) << custom;
    }
}

TEST_P(LocatorSearchTest, AFolderWithTheExecutableBitPassesWhereTheRuleAllowsIt)
{
    const std::string atHome = installAtHome();
    m_customPath = folder("a folder");
    EXPECT_EQ(
        GetParam().findExecutable(realContext()), GetParam().acceptsFolders ? m_customPath : orOneOfTheMachine(realContext(), atHome));
}

TEST_P(LocatorSearchTest, FindsTheProgramInTheFoldersOfPathInTheirOrder)
{
    RuntimeContext context = realContext();
    makeFile(folder("one") + "/" + program(), false);
    const std::string second = makeFile(folder("two") + "/" + program());
    makeFile(folder("three") + "/" + program());
    context.environment["PATH"] = folder("none") + "::" + folder("one") + ":" + folder("two") + ":" + folder("three");
    EXPECT_EQ(GetParam().findExecutable(context), orOneOfTheMachine(context, second));
    const std::string atHome = installAtHome();
    EXPECT_EQ(GetParam().findExecutable(context), orOneOfTheMachine(context, atHome))
        << "fixed places come before PATH, and nothing is remembered";
    fs::remove(atHome);
    EXPECT_EQ(GetParam().findExecutable(context), orOneOfTheMachine(context, second));
}

TEST_P(LocatorSearchTest, FindsNothingWhereNothingIs)
{
    RuntimeContext context = realContext();
    EXPECT_EQ(GetParam().findExecutable(context), orOneOfTheMachine(context, std::nullopt));
    context.environment["PATH"] = folder("empty");
    EXPECT_EQ(GetParam().findExecutable(context), orOneOfTheMachine(context, std::nullopt));
}

TEST_P(LocatorSearchTest, FollowsALinkToTheProgram)
{
    const std::string target = makeFile(folder("real") + "/program");
    const std::string link = m_files.directory() + "/link";
    fs::create_symlink(target, link);
    m_customPath = link;
    EXPECT_EQ(GetParam().findExecutable(realContext()), link);
}

INSTANTIATE_TEST_SUITE_P(
    Every, LocatorSearchTest, ::testing::ValuesIn(locators()), [](const auto& row) { return std::string(row.param.program); });

TEST(ExecutableSearchTest, APathThatComesTwiceIsTestedOnceUnlessTheRuleSaysOtherwise)
{
    std::vector<std::string> tested;
    const auto refuse = [&tested](const std::string& path) {
        tested.push_back(path);
        return false;
    };
    EXPECT_EQ(firstAccepted({ "/a", "/b", "/a" }, Repeats::skipped, refuse), std::nullopt);
    EXPECT_THAT(tested, ElementsAre("/a", "/b"));
    tested.clear();
    EXPECT_EQ(firstAccepted({ "/a", "/b", "/a" }, Repeats::tested, refuse), std::nullopt);
    EXPECT_THAT(tested, ElementsAre("/a", "/b", "/a"));
}

TEST(ExecutableSearchTest, TheFirstThatPassesEndsTheSearch)
{
    int count = 0;
    const auto accept = [&count](const std::string& path) { return ++count > 0 && path != "/a"; };
    EXPECT_EQ(firstAccepted({ "/a", "/b", "/c" }, Repeats::skipped, accept), "/b");
    EXPECT_EQ(count, 2);
}

} // namespace
} // namespace tessarin
