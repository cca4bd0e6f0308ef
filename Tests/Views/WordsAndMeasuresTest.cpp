#include "PresenterFixture.h"
#include "QmlFixture.h"

#include <QQmlComponent>

#include <memory>

namespace tessarin
{

namespace
{

using testing::Scenario;

// What stands on the screens to the letter, and the measures that are given.
class WordsAndMeasuresTest : public PresenterTest
{
protected:
    void show()
    {
        window.attach(model);
        root = qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(1180, 760));
    }
    void open(std::initializer_list<std::string_view> programs = { "grok" })
    {
        openProject(programs);
        show();
    }
    // What shows an agent that works, and has thought and planned.
    void openAtWork()
    {
        Scenario turn;
        turn.handshake().expect("session/prompt");
        for (const char* update : { R"({"sessionUpdate":"agent_thought_chunk","content":{"type":"text","text":"Hm."}})",
                 R"({"sessionUpdate":"plan","entries":[{"content":"One","status":"completed"}]})",
                 R"({"sessionUpdate":"agent_message_chunk","content":{"type":"text","text":"Yes."}})" }) {
            turn.send(R"({"jsonrpc":"2.0","method":"session/update","params":{"update":)" + std::string(update) + "}}");
        }
        runtime.script("grok", turn.waitForFile("go").reply(testing::endTurn));
        open();
        model->send("Hi");
        waitForEntries(3);
        ASSERT_TRUE(QmlFixture::becomes([this] { return item("AvatarView") != nullptr && item("PlanHead") != nullptr; }));
    }

    // Also in what lies over the window.
    QList<QQuickItem*> items(const char* name) { return QmlFixture::items(qml.view().contentItem(), name); }
    QQuickItem* item(const char* name) { return items(name).value(0); }
    static QQuickItem* inside(const QQuickItem* part, const char* name) { return QmlFixture::items(part, name).value(0); }
    static QStringList read(const QQuickItem* part, const char* kind, const char* property)
    {
        QStringList values;
        for (const QQuickItem* each : QmlFixture::items(part, kind)) {
            values.append(each->property(property).toString());
        }
        return values;
    }
    static QStringList symbols(const QQuickItem* part) { return read(part, "SystemSymbol", "name"); }
    static QQuickItem* column(const QQuickItem* part) { return part->childItems().last(); }

    QmlFixture qml;
    QQuickItem* root = nullptr;
};

TEST_F(WordsAndMeasuresTest, AnEmptyTask)
{
    open();
    const QQuickItem* view = item("EmptyConversationView");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(symbols(view), QStringList("sparkles"));
    EXPECT_EQ(read(view, "Line", "text").value(0), "What should we build?");
    EXPECT_EQ(read(view, "Prose", "text"),
        QStringList("Grok or Codex can inspect this project, edit files, run commands,\nand show each action here for approval."));
    EXPECT_EQ(read(view, "PromptChip", "text"), (QStringList{ "Explain this project", "Find and fix a bug", "Add a new feature" }));
}

TEST_F(WordsAndMeasuresTest, TheInstallScreen)
{
    open({});
    const QQuickItem* view = item("InstallView");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(symbols(view).value(0), "terminal.fill");
    EXPECT_EQ(read(view, "Line", "text").value(0), "Connect a subscription provider");
    EXPECT_EQ(read(view, "Prose", "text"),
        (QStringList{ "Use Grok Build, Codex, or Kimi Code with your existing subscription.\n"
                      "tessarin removes API-key variables and never uses metered API billing.",
            "The button copies this official command and opens Terminal. Paste it, run it, then return here.",
            "Codex and Kimi Code are also detected automatically from installed apps and your PATH." }));
    EXPECT_EQ(read(view, "PushButton", "text"), (QStringList{ "Copy Command & Open Terminal", "Check Again" }));
    EXPECT_EQ(column(view)->width(), 560);
    EXPECT_EQ(column(view)->property("spacing").toInt(), 20);
}

TEST_F(WordsAndMeasuresTest, TheWelcomeScreen)
{
    openModel();
    show();
    const QQuickItem* view = item("WelcomeView");
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(symbols(view), (QStringList{ "sparkles", "key.slash", "terminal", "checkmark.shield" }));
    EXPECT_EQ(inside(view, "SystemSymbol")->property("size").toInt(), 34);
    EXPECT_EQ(column(view)->property("spacing").toInt(), 22);
}

TEST_F(WordsAndMeasuresTest, TheBanner)
{
    runtime.script("grok", testing::failingTurn("The wheel came off."));
    open();
    model->send("hi");
    waitFor(ConnectionState::Kind::failed);
    const QQuickItem* banner = item("SlidingBanner");
    EXPECT_EQ(symbols(banner), (QStringList{ "exclamationmark.triangle.fill", "xmark" }));
    const QQuickItem* mark = inside(banner, "SystemSymbol");
    EXPECT_EQ(mark->x(), 14);
    EXPECT_EQ(inside(banner, "Prose")->x() - (mark->x() + mark->width()), 10);
    EXPECT_EQ(banner->childItems().value(1)->property("radius").toInt(), 12);
}

TEST_F(WordsAndMeasuresTest, TheHeaderAndTheComposer)
{
    open();
    EXPECT_TRUE(symbols(item("ConversationHeader")).contains("folder"));
    const QQuickItem* dot = item("StatusLabel")->childItems().value(0);
    EXPECT_EQ(dot->size(), QSizeF(7, 7));
    EXPECT_EQ(dot->property("radius").toReal(), 3.5);
    EXPECT_EQ(symbols(item("ProjectLabel")), QStringList("folder"));
    EXPECT_EQ(symbols(item("SendButton")), QStringList("arrow.up"));
    EXPECT_TRUE(read(item("ComposerField"), "Line", "text").contains("Ask your agent to build, debug, or explain…"));
}

TEST_F(WordsAndMeasuresTest, AnAgentAtWork)
{
    openAtWork();
    EXPECT_EQ(symbols(item("SendButton")), QStringList("stop.fill"));
    EXPECT_EQ(symbols(item("ThoughtRow")).value(0), "brain.head.profile");
    EXPECT_EQ(symbols(item("PlanHead")).value(0), "checklist");
    const QQuickItem* avatar = item("AvatarView");
    QQmlComponent component(qml.view().engine());
    component.setData("import QtQuick\nimport Tessarin\nQtObject { readonly property color ground: Theme.window }", QUrl());
    const std::unique_ptr<QObject> theme(component.create());
    ASSERT_NE(theme, nullptr);
    EXPECT_EQ(inside(avatar, "SystemSymbol")->property("color"), theme->property("ground")) << "cut out of the circle";
    EXPECT_EQ(avatar->property("radius").toReal(), avatar->height() / 2);
}

TEST_F(WordsAndMeasuresTest, ThePermissionSheet)
{
    Scenario asking;
    asking.handshake().expect("session/prompt");
    asking.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"toolCall":{"title":"Run make"},)"
                R"("options":[{"optionId":"a","name":"Allow once","kind":"allow_once"}]}})");
    runtime.script("grok", asking.expectResponse(7).reply(testing::endTurn));
    open();
    model->send("Hi");
    waitUntil([&] { return model->permissionRequest().has_value(); }, "the request");
    ASSERT_TRUE(QmlFixture::becomes([this] { return item("SheetHead") != nullptr && item("DetailBox") != nullptr; }));
    const QQuickItem* head = item("SheetHead");
    EXPECT_EQ(symbols(head), QStringList("checkmark.shield.fill"));
    EXPECT_EQ(head->width(), 540 - 2 * 18);
    const QQuickItem* mark = inside(head, "SystemSymbol");
    EXPECT_EQ(inside(head, "Line")->mapToItem(head, QPointF()).x() - (mark->x() + mark->width()), 13);
    const QQuickItem* box = item("DetailBox");
    EXPECT_EQ(box->height(), 100) << "a short detail";
    EXPECT_EQ(box->childItems().value(0)->property("radius").toInt(), 10);
    model->rejectPermission();
}

} // namespace

} // namespace tessarin
