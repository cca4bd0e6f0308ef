#include "PresenterFixture.h"
#include "QmlFixture.h"
#include "Views/PlanListModel.h"

#include <QAccessible>

namespace tessarin
{

namespace
{

using testing::Scenario;

class ConversationViewTest : public PresenterTest
{
protected:
    void show(QSize size = QSize(720, 600))
    {
        view = qml.show("ConversationView",
            { { "conversation", QVariant::fromValue(window.conversation()) }, { "permission", QVariant::fromValue(window.permission()) },
                { "install", QVariant::fromValue(window.install()) }, { "sidebarShown", true } },
            size);
        QMetaObject::invokeMethod(view, "focusComposer");
    }
    void open(std::initializer_list<std::string_view> programs = { "grok" })
    {
        openWindow(programs);
        show();
    }
    QQuickItem* item(const char* name) const { return QmlFixture::items(view, name).value(0); }
    // The body is one of the three: install screen, empty task, messages.
    std::vector<std::string> bodies() const
    {
        std::vector<std::string> shown;
        for (const char* name : { "InstallView", "EmptyConversationView", "MessageList" }) {
            if (item(name) != nullptr) {
                shown.emplace_back(name);
            }
        }
        return shown;
    }
    QVariant of(const char* name, const char* property) const
    {
        const QQuickItem* found = item(name);
        EXPECT_NE(found, nullptr) << name;
        return found == nullptr ? QVariant() : found->property(property);
    }
    // What a screen reader says.
    QString spokenName(const char* name) const { return spoken(name, QAccessible::Name); }
    QString spoken(const char* name, QAccessible::Text text) const
    {
        QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(item(name));
        return spoken == nullptr ? QString() : spoken->text(text);
    }
    QRectF placeOf(const char* name) const { return item(name)->mapRectToItem(view, QRectF(QPointF(), item(name)->size())); }
    bool composerHasFocus() const { return item("ComposerField")->property("areaFocus").toBool(); }
    QString draft() const { return item("ChatComposer")->property("text").toString(); }

    QmlFixture qml;
    QQuickItem* view = nullptr;
};

TEST_F(ConversationViewTest, ATaskWithoutEntriesShowsTheThreeChips)
{
    open();
    EXPECT_EQ(bodies(), (std::vector<std::string>{ "EmptyConversationView" }));
    EXPECT_EQ(QmlFixture::items(view, "PromptChip").size(), 3);
}

TEST_F(ConversationViewTest, WithoutARuntimeTheInstallScreenStandsAlsoInATaskWithEntries)
{
    runtime.script("grok", testing::oneTurn("Done."));
    open();
    runTurn("mend it");
    window.conversation()->entries()->flush();
    EXPECT_EQ(bodies(), (std::vector<std::string>{ "MessageList" }));
    window.conversation()->setRoutingMode(static_cast<int>(ProviderRoutingMode::kimi));
    EXPECT_EQ(bodies(), (std::vector<std::string>{ "InstallView" }));
    window.conversation()->setRoutingMode(static_cast<int>(ProviderRoutingMode::grok));
    EXPECT_EQ(bodies(), (std::vector<std::string>{ "MessageList" }));
}

TEST_F(ConversationViewTest, TheComposerStandsEighteenFromTheSides)
{
    open();
    EXPECT_EQ(placeOf("ChatComposer").left(), 18);
    EXPECT_EQ(placeOf("ChatComposer").right(), 720 - 18);
    EXPECT_EQ(placeOf("ChatComposer").bottom(), 600 - 18);
}

TEST_F(ConversationViewTest, ThePlanStandsAboveTheComposerOnlyWhenThereIsOne)
{
    Scenario turn;
    turn.handshake().expect("session/prompt");
    turn.update(R"({"sessionUpdate":"plan","entries":[{"content":"a","status":"completed"},{"content":"b","status":"odd"}]})");
    turn.reply(testing::endTurn);
    runtime.script("grok", turn);
    open();
    EXPECT_FALSE(item("PlanStrip")->isVisible());
    runTurn("plan");
    EXPECT_TRUE(item("PlanStrip")->isVisible());
    EXPECT_EQ(of("PlanHead", "text").toString(), "Plan · 1/2");
    EXPECT_EQ(placeOf("PlanStrip").left(), 18);
    EXPECT_EQ(placeOf("PlanStrip").right(), 720 - 18);
    EXPECT_LT(placeOf("PlanStrip").bottom(), placeOf("ChatComposer").top());
    EXPECT_EQ(item("PlanStep"), nullptr) << "it begins closed";
    QMetaObject::invokeMethod(item("PlanHead"), "clicked");
    EXPECT_TRUE(QmlFixture::becomes([this] { return QmlFixture::items(view, "PlanStep").size() == 2; }));
    model->newThread();
    EXPECT_FALSE(item("PlanStrip")->isVisible());
}

TEST_F(ConversationViewTest, TheHeaderTellsTaskFolderProviderAndConnection)
{
    open();
    EXPECT_EQ(placeOf("ConversationHeader").top(), 0);
    EXPECT_EQ(of("StatusLabel", "label").toString(), "Not connected");
    const QList<QQuickItem*> lines = QmlFixture::items(item("ConversationHeader"), "TipLine");
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines[0]->property("text").toString(), "New task");
    EXPECT_EQ(lines[1]->property("text").toString().toStdString(), runtime.workspace());
    for (const QQuickItem* line : { lines[0], lines[1] }) {
        EXPECT_EQ(line->property("maximumLineCount").toInt(), 1);
        EXPECT_NE(line->property("elide").toInt(), static_cast<int>(Qt::ElideNone));
    }
    EXPECT_LT(placeOf("ProviderStatusPill").right(), placeOf("StatusLabel").left());
}

TEST_F(ConversationViewTest, ALongTitleLeavesRoomForTheProviderAndTheConnection)
{
    runtime.script("grok", testing::oneTurn("Done."));
    open();
    runTurn(std::string(400, 'W'));
    const QList<QQuickItem*> lines = QmlFixture::items(item("ConversationHeader"), "TipLine");
    EXPECT_LT(lines[0]->mapRectToItem(view, QRectF(QPointF(), lines[0]->size())).right(), placeOf("ProviderStatusPill").left());
    EXPECT_LT(placeOf("StatusLabel").right(), 720);
    const auto isTold = [&] {
        const QQuickItem* tip = QmlFixture::items(lines[0], "HoverTip").value(0);
        return tip->property("active").toBool() && tip->property("text") == lines[0]->property("text");
    };
    EXPECT_FALSE(isTold());
    QTest::mouseMove(&qml.view(), lines[0]->mapToScene({ 40, 8 }).toPoint());
    EXPECT_TRUE(QmlFixture::becomes(isTold)) << "under the pointer it is shown whole";
}

TEST_F(ConversationViewTest, ThePillShowsTheRoutingUntilAProviderIsActive)
{
    runtime.script("grok", testing::oneTurn("Done."));
    open();
    const QList<QQuickItem*> lines = QmlFixture::items(item("ProviderStatusPill"), "Line");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(spokenName("ProviderStatusPill"), "Auto");
    EXPECT_EQ(lines[0]->property("text").toString(), "Auto");
    EXPECT_FALSE(lines[1]->isVisible());
    EXPECT_EQ(spoken("ProviderStatusPill", QAccessible::Description),
        "Use Grok first, then hand off across the installed subscription runtimes only when an allowance is exhausted.");
    runTurn("hi");
    EXPECT_EQ(lines[0]->property("text").toString(), "Grok");
    EXPECT_FALSE(lines[1]->isVisible());
}

TEST_F(ConversationViewTest, ThePillOfAnExhaustedProviderSaysSoInRed)
{
    runtime.script("grok", testing::failingTurn(testing::usageLimit));
    open();
    model->send("hi");
    waitFor(ConnectionState::Kind::failed);
    const QList<QQuickItem*> lines = QmlFixture::items(item("ProviderStatusPill"), "Line");
    EXPECT_EQ(lines[1]->property("text").toString(), "· Limit reached");
    EXPECT_TRUE(lines[1]->isVisible());
    EXPECT_EQ(spokenName("ProviderStatusPill"), "Grok · Limit reached");
    const QColor red = lines[1]->property("color").value<QColor>();
    EXPECT_GT(red.red(), 2 * red.green());
    EXPECT_EQ(spoken("ProviderStatusPill", QAccessible::Description), "Grok: Limit reached.");
}

TEST_F(ConversationViewTest, TheDraftStaysWhileThePersonLooksAtAnotherTask)
{
    open();
    item("ChatComposer")->setProperty("text", "half a thought");
    model->newThread();
    EXPECT_EQ(draft(), "half a thought");
    const ChatThread& older = model->workspaces()[0].threads[1];
    model->selectThread(older.id, model->workspaces()[0].id);
    EXPECT_EQ(draft(), "half a thought");
}

TEST_F(ConversationViewTest, TheFocusGoesToTheComposerWithAChipThatIsGone)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    QQuickItem* chip = QmlFixture::items(view, "PromptChip")[0];
    chip->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_FALSE(composerHasFocus());
    QTest::keyClick(&qml.view(), Qt::Key_Space);
    EXPECT_EQ(texts(), (std::vector<std::string>{ "Explain this project" }));
    EXPECT_TRUE(composerHasFocus());
}

TEST_F(ConversationViewTest, TheFocusGoesBackToTheComposerWithTheRoundButton)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    item("ChatComposer")->setProperty("text", "go");
    item("SendButton")->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_Space);
    EXPECT_EQ(texts(), (std::vector<std::string>{ "go" }));
    EXPECT_TRUE(composerHasFocus());
    waitFor(ConnectionState::Kind::working);
    item("SendButton")->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_Space);
    EXPECT_EQ(texts().back(), "Stopped by you.");
    EXPECT_TRUE(composerHasFocus());
}

TEST_F(ConversationViewTest, TheWorkingRowStandsBelowTheEntriesWhileWorking)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    model->send("hi");
    EXPECT_TRUE(QmlFixture::becomes([this] { return item("WorkingRow") != nullptr; }));
    EXPECT_FALSE(item("WorkingRow")->isVisible()) << "it only connects";
    waitFor(ConnectionState::Kind::working);
    EXPECT_TRUE(item("WorkingRow")->isVisible());
    EXPECT_EQ(of("WorkingRow", "text").toString(), "Grok is working…");
    EXPECT_GT(placeOf("WorkingRow").top(), placeOf("UserRow").bottom());
    model->stopWorking();
    EXPECT_FALSE(item("WorkingRow")->isVisible());
}

} // namespace

} // namespace tessarin
