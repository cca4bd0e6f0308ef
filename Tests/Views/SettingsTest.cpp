#include "PresenterFixture.h"
#include "QmlFixture.h"
#include "RestingUpdater.h"
#include "Views/SystemUpdater.h"
#include "Views/UpdateController.h"

#include <QColor>
#include <QFont>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

namespace tessarin
{

namespace
{

using testing::failingTurn;
using testing::hangingTurn;
using testing::Scenario;

class SettingsTest : public PresenterTest
{
protected:
    ~SettingsTest() override { qml.view().setSource({}); }

    void show(const QSize& size = QSize(660, 780))
    {
        if (!model) {
            openModel();
        }
        window.setUpdates(updates, flow);
        window.attach(model);
        root = qml.show("SettingsView", { { "windowModel", QVariant::fromValue(&window) } }, size);
        view = QmlFixture::items(root, "QQuickFlickable").value(0);
    }
    QQuickItem* section(const QString& heading) const
    {
        for (const char* type : { "RoutingSection", "RuntimeSection", "SettingsSection" }) {
            for (QQuickItem* each : QmlFixture::items(root, type)) {
                if (each->property("heading").toString() == heading) {
                    return each;
                }
            }
        }
        ADD_FAILURE() << "no section " << heading.toStdString();
        return nullptr;
    }
    // The n-th item of a type that is seen in a section.
    QQuickItem* item(const QString& heading, const char* type, int index = 0) const
    {
        QList<QQuickItem*> seen;
        for (QQuickItem* each : QmlFixture::items(section(heading), type)) {
            if (each->isVisible()) {
                seen.append(each);
            }
        }
        return seen.value(index);
    }
    QStringList buttons(const QString& heading) const
    {
        QStringList names;
        for (const QQuickItem* each : QmlFixture::items(section(heading), "PushButton")) {
            if (each->isVisible()) {
                names.append(textOf(each));
            }
        }
        return names;
    }
    QQuickItem* button(const QString& heading, const QString& text) const
    {
        return item(heading, "PushButton", static_cast<int>(buttons(heading).indexOf(text)));
    }
    QQuickItem* statusLine(const QString& heading) const { return QmlFixture::items(item(heading, "RuntimeStatusRow"), "Line").value(0); }
    QString status(const QString& heading) const { return textOf(statusLine(heading)); }
    QQuickItem* path(const QString& heading) const { return item(heading, "StoredEntry"); }
    QQuickItem* modelField(const QString& heading) const { return item(heading, "StoredEntry", 1); }
    QQuickItem* segment(int index) const { return item("Model Routing", "Segment", index); }
    static QString textOf(const QQuickItem* part) { return part->property("text").toString(); }
    static QColor colorOf(const QQuickItem* part) { return part->property("color").value<QColor>(); }
    QColor themeColor(const char* name)
    {
        QQmlComponent component(qml.view().engine());
        component.setData("import QtQuick\nimport Tessarin\nItem { readonly property QtObject theme: Theme }", QUrl());
        const std::unique_ptr<QObject> holder(component.create());
        return holder->property("theme").value<QObject*>()->property(name).value<QColor>();
    }

    void press(QQuickItem* control)
    {
        const qreal end = view->property("contentHeight").toReal() - view->height();
        const qreal top = control->mapToItem(view, QPointF()).y() + view->property("contentY").toReal();
        view->setProperty("contentY", std::clamp(top - view->height() / 2, 0.0, std::max(end, 0.0)));
        QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, control->mapToScene(control->boundingRect().center()).toPoint());
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) { QTest::keyClick(&qml.view(), key, modifiers); }
    void type(const std::string& text)
    {
        for (const char character : text) {
            QTest::keyClick(&qml.view(), character);
        }
    }
    static void begin(QQuickItem* field) { field->forceActiveFocus(Qt::TabFocusReason); }
    std::string program(const std::string& name, const std::string& script) const
    {
        const std::string file = makeFolder("programs") + "/" + name;
        std::ofstream(file) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return file;
    }

    UpdateFlow flow{ systemUpdateSurroundings(preferences, mainThread, desktop) };
    UpdateController updates{ preferences, [](SoftwareUpdaterDelegate&) { return std::make_unique<RestingUpdater>(); } };
    QmlFixture qml;
    QQuickItem* root = nullptr;
    QQuickItem* view = nullptr; // that scrolls
};

constexpr const char* grok = "Grok Build CLI";
constexpr const char* codex = "ChatGPT / Codex";
constexpr const char* kimi = "Kimi Code";
constexpr const char* glm = "GLM Coding Plan";
constexpr const char* claude = "Claude Code";
constexpr const char* routing = "Model Routing";

TEST_F(SettingsTest, TheSectionsStandInTheirOrder)
{
    show();
    QStringList headings;
    qreal last = 0;
    for (const QQuickItem* heading : QmlFixture::items(root, "HeadingLine")) {
        if (heading->isVisible()) {
            headings.append(textOf(heading));
            EXPECT_GT(heading->mapToItem(view, QPointF()).y(), last);
            last = heading->mapToItem(view, QPointF()).y();
        }
    }
    EXPECT_EQ(
        headings, (QStringList{ routing, grok, codex, kimi, glm, claude, "How billing works", "Software Updates", "Android Remote" }));
}

TEST_F(SettingsTest, TheTextOnBillingStandsToTheLetter)
{
    show();
    EXPECT_EQ(textOf(item("How billing works", "Prose")),
        "tessarin is free. Grok Build uses SuperGrok, Codex uses ChatGPT, Kimi Code uses Kimi membership, OpenCode uses the configured "
        "Z.AI Coding Plan credential, and Claude Code uses its Claude login. tessarin does not provide or resell model access.");
}

TEST_F(SettingsTest, ThePickerShowsAndSetsTheRouting)
{
    show();
    QStringList labels;
    for (int index = 0; index < 6; ++index) {
        labels.append(textOf(segment(index)));
    }
    EXPECT_EQ(labels, (QStringList{ "Auto", "Grok", "Codex", "Kimi", "GLM", "Claude" }));
    EXPECT_EQ(textOf(item(routing, "Line")), "Model Routing");
    EXPECT_EQ(textOf(item(routing, "Line", 1)), "Default");
    EXPECT_TRUE(segment(0)->property("chosen").toBool());
    press(segment(4));
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::glm);
    EXPECT_TRUE(segment(4)->property("chosen").toBool());
    EXPECT_FALSE(segment(0)->property("chosen").toBool());
    EXPECT_EQ(textOf(item(routing, "Prose")), "Always use the GLM Coding Plan configured in OpenCode.");
    model->setRoutingMode(ProviderRoutingMode::kimi);
    EXPECT_TRUE(segment(3)->property("chosen").toBool());
    EXPECT_EQ(textOf(item(routing, "Prose", 1)),
        "Automatic handoff happens only after a provider reports an exhausted allowance. Authentication, network, and runtime errors do "
        "not trigger a switch.");
}

TEST_F(SettingsTest, TheArrowsChooseTheRoutingAndStopAtTheEnds)
{
    show();
    begin(segment(0));
    key(Qt::Key_Left);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    key(Qt::Key_Right);
    key(Qt::Key_Down);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::codex);
    EXPECT_TRUE(segment(2)->hasActiveFocus());
    for (int step = 0; step < 9; ++step) {
        key(Qt::Key_Right);
    }
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::claude);
    key(Qt::Key_Up);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::glm);
}

TEST_F(SettingsTest, WhileAPromptRunsThePickerIsDisabled)
{
    runtime.script("grok", hangingTurn().command("--version", "1").expect("session/cancel").reply(testing::endTurn));
    openProject();
    show();
    EXPECT_TRUE(segment(1)->isEnabled());
    begin(segment(0));
    model->send("Hi");
    waitFor(ConnectionState::Kind::working);
    EXPECT_FALSE(segment(0)->isEnabled());
    press(segment(1));
    key(Qt::Key_Right);
    EXPECT_EQ(model->routingMode(), ProviderRoutingMode::automatic);
    dropConnection();
    EXPECT_TRUE(segment(1)->isEnabled());
}

TEST_F(SettingsTest, EveryLetterOfAPathIsStoredAndLookedForAtOnce)
{
    const std::string typed = program("g", "echo typed");
    // What stands above the test's own folder may be anything, also a program that answers late.
    const std::string folder = runtime.directory();
    preferences.setText("grokExecutablePath", folder);
    int asked = 0;
    onSettingAsked = [&](const std::string& name) { asked += name == "grokExecutablePath" ? 1 : 0; };
    show();
    EXPECT_EQ(status(grok), "Not installed");
    begin(path(grok));
    key(Qt::Key_End);
    for (std::size_t length = folder.size() + 1; length <= typed.size(); ++length) {
        const int before = asked;
        type(typed.substr(length - 1, 1));
        EXPECT_EQ(preferences.text("grokExecutablePath"), typed.substr(0, length));
        EXPECT_GT(asked, before) << typed.substr(0, length);
        EXPECT_EQ(status(grok), QString(length < typed.size() ? "Not installed" : "Installed")) << typed.substr(0, length);
    }
    waitUntil([&] { return status(grok) == "typed"; }, "the version");
    key(Qt::Key_Backspace);
    EXPECT_EQ(status(grok), "Not installed");
    EXPECT_EQ(textOf(path(grok)).toStdString(), typed.substr(0, typed.size() - 1));
}

TEST_F(SettingsTest, APathTypedInOneSectionLeavesTheOthersAlone)
{
    QStringList asked;
    show();
    onSettingAsked = [&](const std::string& name) { asked.append(QString::fromStdString(name)); };
    for (const char* heading : { grok, codex, kimi, glm, claude }) {
        begin(path(heading));
        type("x");
    }
    EXPECT_EQ(asked,
        (QStringList{
            "grokExecutablePath", "codexExecutablePath", "kimiExecutablePath", "openCodeExecutablePath", "claudeExecutablePath" }));
    EXPECT_EQ(preferences.text("openCodeExecutablePath"), "x");
    EXPECT_EQ(preferences.text("claudeExecutablePath"), "x");
}

TEST_F(SettingsTest, AnEmptyPathLeavesItToTheSearch)
{
    install({ "kimi" });
    runtime.script("kimi", Scenario().command("--version", "found"));
    preferences.setText("kimiExecutablePath", program("other", "echo other"));
    show();
    waitUntil([&] { return status(kimi) == "other"; }, "the version");
    begin(path(kimi));
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Delete);
    EXPECT_EQ(preferences.text("kimiExecutablePath"), "");
    waitUntil([&] { return status(kimi) == "found"; }, "the version");
    EXPECT_EQ(path(kimi)->property("placeholderText").toString(), "Auto-detect");
}

TEST_F(SettingsTest, AModelIsStoredAtEachLetterAndNothingIsLookedFor)
{
    show();
    QStringList asked;
    onSettingAsked = [&](const std::string& name) { asked.append(QString::fromStdString(name)); };
    EXPECT_EQ(textOf(modelField(claude)), "sonnet");
    EXPECT_EQ(textOf(modelField(glm)), "zai-coding-plan/glm-4.7");
    begin(modelField(claude));
    key(Qt::Key_A, Qt::ControlModifier);
    type("op");
    EXPECT_EQ(preferences.text("claudeModel"), "op");
    begin(modelField(glm));
    key(Qt::Key_End);
    type("5");
    EXPECT_EQ(preferences.text("openCodeGLMModel"), "zai-coding-plan/glm-4.75");
    EXPECT_EQ(asked, QStringList());
    EXPECT_EQ(modelField(grok), nullptr);
}

TEST_F(SettingsTest, AModelOutsideThePlanTurnsTheCaptionRedAndIsKept)
{
    show();
    const QQuickItem* caption = item(glm, "Prose");
    ASSERT_TRUE(textOf(caption).startsWith("The model must begin with zai-coding-plan/glm-."));
    EXPECT_EQ(colorOf(caption), themeColor("secondaryText"));
    begin(modelField(glm));
    key(Qt::Key_A, Qt::ControlModifier);
    type("zai-coding-plan/other");
    EXPECT_EQ(colorOf(caption), themeColor("red"));
    EXPECT_EQ(preferences.text("openCodeGLMModel"), "zai-coding-plan/other");
    EXPECT_EQ(textOf(modelField(glm)), "zai-coding-plan/other");
    key(Qt::Key_A, Qt::ControlModifier);
    type("ZAI-Coding-Plan/GLM-x");
    EXPECT_EQ(colorOf(caption), themeColor("secondaryText"));
    EXPECT_EQ(colorOf(item(glm, "Prose", 1)), themeColor("secondaryText")) << "the other caption has no rule";
}

TEST_F(SettingsTest, AFileThatIsChosenIsAsIfItsPathWereTyped)
{
    const std::string chosen = program("codex", "echo chosen");
    show();
    press(button(codex, "Choose…"));
    ASSERT_EQ(desktop.fileQuestions.size(), 1U);
    EXPECT_EQ(desktop.fileQuestions[0].title, "Choose the codex executable");
    desktop.fileAnswers[0](chosen);
    EXPECT_EQ(textOf(path(codex)).toStdString(), chosen);
    EXPECT_EQ(preferences.text("codexExecutablePath"), chosen);
    waitUntil([&] { return status(codex) == "chosen"; }, "the version");
    press(button(codex, "Choose…"));
    desktop.fileAnswers[1](std::nullopt);
    EXPECT_EQ(preferences.text("codexExecutablePath"), chosen);
}

TEST_F(SettingsTest, APathFromElsewhereIsShownWithoutMovingTheCaret)
{
    show();
    begin(path(grok));
    type("/one/two");
    path(grok)->setProperty("cursorPosition", 3);
    window.settings()->runtime(AgentProvider::grok)->setPath("/other/place");
    EXPECT_EQ(textOf(path(grok)), "/other/place");
    EXPECT_EQ(path(grok)->property("cursorPosition").toInt(), 3);
    type("x");
    EXPECT_EQ(preferences.text("grokExecutablePath"), "/otxher/place");
    preferences.setText("grokExecutablePath", "/by/hand");
    press(button(grok, "Refresh"));
    EXPECT_EQ(textOf(path(grok)), "/by/hand");
}

TEST_F(SettingsTest, TheSignInButtonIsThereOnlyWhileTheProgramIs)
{
    install({ "claude" });
    runtime.script("claude", Scenario().command("--version", "2").command("auth status", "", 1));
    show();
    EXPECT_EQ(buttons(claude), (QStringList{ "Choose…", "Refresh", "Log in with Claude" }));
    EXPECT_EQ(buttons(grok), (QStringList{ "Choose…", "Refresh" }));
    waitUntil([&] { return status(claude) == "Sign-in needed"; }, "the sign-in");
    EXPECT_EQ(colorOf(statusLine(claude)), themeColor("orange"));
    EXPECT_TRUE(button(claude, "Log in with Claude")->property("prominent").toBool());
    press(button(claude, "Log in with Claude"));
    ASSERT_EQ(desktop.pasteboard.size(), 1U);
    EXPECT_TRUE(desktop.pasteboard[0].ends_with("claude' auth login"));
    uninstall("claude");
    press(button(claude, "Refresh"));
    EXPECT_EQ(status(claude), "Not installed");
    EXPECT_EQ(colorOf(statusLine(claude)), themeColor("red"));
    EXPECT_EQ(buttons(claude), (QStringList{ "Choose…", "Refresh" }));
}

TEST_F(SettingsTest, EachSignInButtonDoesWhatItSays)
{
    install({ "grok", "codex", "kimi", "opencode" });
    for (const char* name : { "grok", "codex", "kimi", "opencode" }) {
        runtime.script(name, Scenario().command("--version", "1").command("login status", "").command("login", "", 1));
    }
    show();
    press(button(glm, "Set up Z.AI Plan"));
    EXPECT_TRUE(desktop.pasteboard.at(0).ends_with("opencode' auth login --provider zai-coding-plan"));
    press(button(kimi, "Log in with Kimi"));
    waitUntil([&] { return model->errorMessage() == "Kimi login did not complete."; }, "the end of the log-in");
    press(button(codex, "Log in with ChatGPT"));
    waitUntil([&] { return model->errorMessage() == "Codex login did not complete."; }, "the end of the log-in");
    press(button(grok, "Log in with SuperGrok"));
    EXPECT_EQ(model->connectionState().kind(), ConnectionState::Kind::connecting);
    waitFor(ConnectionState::Kind::failed);
}

TEST_F(SettingsTest, AnAllowanceThatIsUsedUpIsToldInRedAndOnlyWhereItIsShown)
{
    runtime.script("kimi", failingTurn(testing::usageLimit).command("--version", "1"));
    runtime.script("grok", failingTurn(testing::usageLimit).command("--version", "1"));
    openProject({ "kimi", "grok" });
    show();
    EXPECT_EQ(item(kimi, "RuntimeStatusRow")->isVisible(), true);
    const QQuickItem* usage = QmlFixture::items(item(kimi, "RuntimeStatusRow"), "Line").value(1);
    EXPECT_FALSE(usage->isVisible());
    model->send("Hi"); // to Grok, and from there to Kimi
    waitUntil([&] { return model->providerUsage().size() == 2; }, "both to be exhausted");
    EXPECT_EQ(textOf(usage), "Limit reached");
    EXPECT_EQ(colorOf(usage), themeColor("red"));
    EXPECT_FALSE(QmlFixture::items(item(grok, "RuntimeStatusRow"), "Line").value(1)->isVisible());
}

TEST_F(SettingsTest, WhatGoesWrongIsToldHereAndGoesWhenItIsDismissed)
{
    install({ "kimi" });
    runtime.script("kimi", Scenario().command("--version", "1").command("login", "", 1));
    show();
    QQuickItem* banner = QmlFixture::items(root, "SlidingBanner").value(0);
    EXPECT_FALSE(banner->isVisible());
    press(button(kimi, "Log in with Kimi"));
    waitUntil([&] { return model->errorMessage().has_value(); }, "the failure");
    EXPECT_EQ(banner->property("message").toString(), "Kimi login did not complete.");
    ASSERT_TRUE(QmlFixture::becomes([&] { return banner->opacity() == 1; }));
    const QQuickItem* close = QmlFixture::items(banner, "SymbolButton").value(0);
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, close->mapToScene(close->boundingRect().center()).toPoint());
    EXPECT_EQ(model->errorMessage(), std::nullopt);
    EXPECT_TRUE(QmlFixture::becomes([&] { return !banner->isVisible(); }));
}

TEST_F(SettingsTest, AnInstallLineIsReadAndCopiedButNotChanged)
{
    show();
    EXPECT_EQ(item(grok, "InstallLine"), nullptr);
    EXPECT_EQ(item(codex, "InstallLine"), nullptr);
    QQuickItem* line = item(kimi, "InstallLine");
    begin(line);
    type("x");
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(line->property("selectedText").toString(), "Install: curl -fsSL https://code.kimi.com/kimi-code/install.sh | bash");
    EXPECT_EQ(textOf(line), line->property("selectedText").toString());
    EXPECT_LT(line->property("font").value<QFont>().pixelSize(), 13) << "small";
}

TEST_F(SettingsTest, TheKeysReachEveryControlInItsOrderAndTheViewFollows)
{
    install({ "grok", "claude" });
    for (const char* name : { "grok", "claude" }) {
        runtime.script(name, Scenario().command("--version", "1").command("auth status", ""));
    }
    show(QSize(520, 320));
    QStringList seen;
    begin(segment(0));
    while (seen.size() < 40) {
        const QQuickItem* focus = qml.view().activeFocusItem();
        const QString name = focus->property("name").toString();
        const QString part = focus->inherits("QQuickTextEdit") ? "install line" : name.isEmpty() ? textOf(focus) : name;
        if (part == "Allow paired Android devices to control this Mac") {
            break;
        }
        seen.append(part);
        const QRectF place = focus->mapRectToItem(root, focus->boundingRect());
        EXPECT_GE(place.top(), 0) << part.toStdString();
        EXPECT_LE(place.bottom(), 320) << part.toStdString();
        key(Qt::Key_Tab);
    }
    EXPECT_EQ(seen,
        (QStringList{ "Auto", "Auto-detect", "Choose…", "Refresh", "Log in with SuperGrok", "Auto-detect", "Choose…", "Refresh",
            "Auto-detect", "Choose…", "install line", "Refresh", "Auto-detect OpenCode", "Choose…", "zai-coding-plan/glm-4.7",
            "install line", "Refresh", "Auto-detect", "Choose…", "sonnet, opus, haiku, or a Claude model ID", "install line", "Refresh",
            "Log in with Claude", "Automatically check for updates", "Update feed address", "Check Now" }));
}

TEST_F(SettingsTest, NothingReachesOverTheEdgeOfANarrowWindow)
{
    preferences.setText("grokExecutablePath", program("grok", "echo " + std::string(300, 'w')));
    preferences.setText("claudeModel", std::string(300, 'm'));
    show(QSize(520, 320));
    waitUntil([&] { return status(grok).size() == 300; }, "the version");
    for (const char* type : { "Line", "Prose", "PushButton", "StoredEntry", "SegmentedPicker", "InstallLine", "Hairline" }) {
        for (const QQuickItem* each : QmlFixture::items(root, type)) {
            if (!each->isVisible()) {
                continue;
            }
            const QRectF place = each->mapRectToItem(root, QRectF(QPointF(), each->size()));
            EXPECT_GE(place.left(), 0) << type;
            EXPECT_LE(place.right(), 520) << type << ' ' << textOf(each).toStdString();
        }
    }
    EXPECT_TRUE(statusLine(grok)->property("truncated").toBool());
    const QRectF buttonsOfGrok = button(grok, "Refresh")->mapRectToItem(root, button(grok, "Refresh")->boundingRect());
    EXPECT_LE(statusLine(grok)->mapRectToItem(root, statusLine(grok)->boundingRect()).right(), buttonsOfGrok.left());
}

} // namespace

} // namespace tessarin
