#include "PresenterFixture.h"
#include "Views/EntryListModel.h"
#include "Views/RoutingChoice.h"

#include <QSignalSpy>

namespace tessarin
{

namespace
{

using testing::Scenario;
using ConversationModelTest = PresenterTest;

TEST_F(ConversationModelTest, WithoutAProjectItSaysSo)
{
    openModel();
    window.attach(model);
    EXPECT_FALSE(conversation("hasProject").toBool());
    EXPECT_EQ(conversation("title").toString(), "New task");
    EXPECT_EQ(conversation("path").toString(), "");
    EXPECT_EQ(conversation("projectName").toString(), "Project");
    EXPECT_FALSE(conversation("canSend").toBool());
}

TEST_F(ConversationModelTest, TheHeaderShowsTaskFolderAndConnection)
{
    openWindow();
    EXPECT_EQ(conversation("title").toString(), "New task");
    EXPECT_EQ(conversation("path").toString().toStdString(), runtime.workspace());
    EXPECT_EQ(conversation("projectName").toString(), "project");
    EXPECT_EQ(conversation("connectionLabel").toString(), "Not connected");
    EXPECT_EQ(conversation("connectionTint").value<Tint::Value>(), Tint::Secondary);
}

TEST_F(ConversationModelTest, ATurnIsShownFromConnectingToReady)
{
    Scenario turn;
    turn.handshake().expect("session/prompt").chunk("Done.").waitForFile("go").reply(testing::endTurn);
    runtime.script("grok", turn);
    openWindow();
    window.conversation()->send("mend it\nplease");
    EXPECT_EQ(conversation("connectionLabel").toString(), "Connecting");
    EXPECT_FALSE(conversation("canSend").toBool());
    EXPECT_FALSE(conversation("isWorking").toBool());
    EXPECT_EQ(conversation("title").toString(), "mend it");
    waitForEntries(2);
    EXPECT_TRUE(conversation("isWorking").toBool());
    EXPECT_EQ(conversation("connectionLabel").toString(), "Grok is working");
    EXPECT_EQ(conversation("workingText").toString(), "Grok is working…");
    EXPECT_EQ(conversation("connectionTint").value<Tint::Value>(), Tint::Orange);
    EXPECT_FALSE(conversation("canChangeRoutingMode").toBool());
    runtime.touch("go");
    waitFor(ConnectionState::Kind::ready);
    EXPECT_EQ(conversation("connectionLabel").toString(), "Ready");
    EXPECT_EQ(conversation("connectionTint").value<Tint::Value>(), Tint::Green);
    EXPECT_TRUE(conversation("canSend").toBool());
    EXPECT_TRUE(conversation("canChangeRoutingMode").toBool());
    window.conversation()->entries()->flush();
    EXPECT_EQ(window.conversation()->entries()->count(), 2);
}

TEST_F(ConversationModelTest, TheModesStayAsTheyAreWhileImagineWorks)
{
    runtime.script("grok", testing::hangingTurn());
    openWindow();
    const auto canChange = [this] {
        EXPECT_EQ(window.permission()->property("canChangeMode"), conversation("canChangeRoutingMode"));
        return conversation("canChangeRoutingMode").toBool();
    };
    EXPECT_TRUE(canChange());
    model->generateImagine("a lighthouse", ImagineKind::image);
    EXPECT_FALSE(canChange());
    model->cancelImagine();
    EXPECT_TRUE(canChange());
}

TEST_F(ConversationModelTest, ADraftLeavesOnlyWhenItCanBeSent)
{
    openWindow();
    EXPECT_EQ(window.conversation()->promptToSend(" mend it \n"), "mend it");
    EXPECT_EQ(window.conversation()->promptToSend(" \n"), "");
    runtime.script("grok", testing::hangingTurn());
    window.conversation()->send("one");
    EXPECT_EQ(window.conversation()->promptToSend("two"), "");
    EXPECT_EQ(texts(), (std::vector<std::string>{ "one" }));
}

TEST_F(ConversationModelTest, StoppingGoesToTheModel)
{
    runtime.script("grok", testing::hangingTurn());
    openWindow();
    window.conversation()->send("one");
    waitFor(ConnectionState::Kind::working);
    window.conversation()->stopWorking();
    EXPECT_EQ(texts().back(), "Stopped by you.");
    EXPECT_FALSE(conversation("isWorking").toBool());
}

TEST_F(ConversationModelTest, TheRoutingMenuListsEveryModeAndTicksTheCurrentOne)
{
    openWindow();
    window.conversation()->setRoutingMode(static_cast<int>(ProviderRoutingMode::kimi));
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::kimi);
    EXPECT_EQ(conversation("routingLabel").toString(), "Kimi");
    EXPECT_EQ(conversation("routingSymbol").toString(), "moon.stars.fill");
    QStringList titles;
    for (const RoutingChoice& choice : conversation("routingChoices").value<QList<RoutingChoice>>()) {
        titles.append(choice.title);
        EXPECT_EQ(choice.isCurrent, choice.title.endsWith("✓"));
    }
    EXPECT_EQ(titles, (QStringList{ "Auto", "Grok", "Codex", "Kimi  ✓", "GLM", "Claude" }));
    window.conversation()->setRoutingMode(99);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::kimi);
}

TEST_F(ConversationModelTest, ARuntimeThatIsInstalledLaterIsFoundWhenThePersonLooksAgain)
{
    openWindow({});
    EXPECT_FALSE(conversation("hasRunnableProvider").toBool());
    install({ "kimi" });
    window.conversation()->checkAgain();
    EXPECT_TRUE(conversation("hasRunnableProvider").toBool());
    window.conversation()->setRoutingMode(static_cast<int>(ProviderRoutingMode::grok));
    EXPECT_FALSE(conversation("hasRunnableProvider").toBool());
}

TEST_F(ConversationModelTest, ThePlanIsCountedAndGoesWithTheConnection)
{
    Scenario turn;
    turn.handshake().expect("session/prompt");
    turn.update(R"({"sessionUpdate":"plan","entries":[{"content":"a","status":"completed"},{"content":"b","status":"pending"}]})");
    turn.reply(testing::endTurn);
    runtime.script("grok", turn);
    openWindow();
    EXPECT_FALSE(conversation("hasPlan").toBool());
    runTurn("plan");
    EXPECT_TRUE(conversation("hasPlan").toBool());
    EXPECT_EQ(conversation("planLabel").toString(), "Plan · 1/2");
    EXPECT_EQ(window.conversation()->plan()->rowCount(), 2);
    model->newThread();
    EXPECT_FALSE(conversation("hasPlan").toBool());
}

TEST_F(ConversationModelTest, AnotherTaskIsAnotherList)
{
    runtime.script("grok", testing::oneTurn("Done."));
    openWindow();
    runTurn("mend it");
    EntryListModel& entries = *window.conversation()->entries();
    entries.flush();
    const QSignalSpy reset(&entries, &QAbstractItemModel::modelReset);
    model->newThread();
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(entries.count(), 0);
    EXPECT_EQ(conversation("title").toString(), "New task");
}

TEST_F(ConversationModelTest, RevealingGoesToTheDesktop)
{
    openWindow();
    window.conversation()->revealProject();
    EXPECT_EQ(desktop.revealed, (std::vector<std::string>{ runtime.workspace() }));
}

} // namespace

} // namespace tessarin
