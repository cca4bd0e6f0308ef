#include "App/ShellCommands.h"
#include "PresenterFixture.h"

namespace tessarin
{

namespace
{

class InstallModelTest : public PresenterTest
{
protected:
    QVariant shownOf(const char* property) { return window.install()->property(property); }
};

TEST_F(InstallModelTest, CheckAgainLooksForGrokCodexAndKimi)
{
    openWindow({});
    install({ "grok", "codex", "kimi", "opencode", "claude" });
    for (const char* program : { "grok", "codex", "kimi" }) {
        runtime.script(program, testing::Scenario().command("--version", "1").command("login status", ""));
    }
    window.install()->checkAgain();
    EXPECT_TRUE(model->installStatus().installed());
    EXPECT_TRUE(model->codexInstallStatus().installed());
    EXPECT_TRUE(model->kimiInstallStatus().installed());
    EXPECT_TRUE(model->openCodeInstallStatus().isMissing());
    EXPECT_TRUE(model->claudeInstallStatus().isMissing());
    const auto hasVersion = [](const auto& status) { return status.installed()->version.has_value(); };
    waitUntil([&] {
        return hasVersion(model->installStatus()) && hasVersion(model->codexInstallStatus()) && hasVersion(model->kimiInstallStatus());
    });
}

TEST_F(InstallModelTest, ACommandIsShownWhereNoTerminalOpensUntilThePersonHasSeenIt)
{
    openWindow({});
    const QString command = QString::fromStdString(std::string(grokInstallCommand));
    EXPECT_EQ(shownOf("command"), command);
    window.install()->copyCommandAndOpenTerminal();
    EXPECT_EQ(shownOf("hasCopiedCommand"), false);
    desktop.terminals.at(0)(false);
    EXPECT_EQ(shownOf("hasCopiedCommand"), true);
    EXPECT_EQ(shownOf("copiedCommand"), command);
    window.install()->dismissCopiedCommand();
    EXPECT_EQ(shownOf("hasCopiedCommand"), false);
    window.install()->copyCommandAndOpenTerminal();
    desktop.terminals.at(1)(true);
    EXPECT_EQ(shownOf("hasCopiedCommand"), false);
}

} // namespace

} // namespace tessarin
