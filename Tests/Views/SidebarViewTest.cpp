#include "PresenterFixture.h"
#include "QmlFixture.h"

#include <QSignalSpy>

namespace tessarin
{

namespace
{

class SidebarViewTest : public PresenterTest
{
protected:
    ~SidebarViewTest() override { qml.view().setSource({}); }

    void show()
    {
        window.attach(model);
        root = qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(980, 730));
        sidebar = QmlFixture::items(root, "SidebarView").value(0);
    }
    // Two projects; the newest task of the second is selected: first, a, second, c, b.
    void open()
    {
        openProject({ "grok" });
        model->addWorkspace(makeFolder("second"));
        model->newThread();
        show();
    }
    QList<QQuickItem*> items(const char* name) const { return QmlFixture::items(sidebar, name); }
    QQuickItem* item(const char* name) const { return items(name).value(0); }
    QQuickItem* list() const { return item("TaskList"); }
    int row() const { return list()->property("currentIndex").toInt(); }
    QQuickItem* rowAt(int index) const
    {
        QQuickItem* found = nullptr;
        QMetaObject::invokeMethod(list(), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found), Q_ARG(int, index));
        return found;
    }
    QRectF placeOf(const QQuickItem* found) const { return found->mapRectToItem(root, QRectF(QPointF(), found->size())); }
    void takeFocus() { QMetaObject::invokeMethod(sidebar, "takeFocus"); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) { QTest::keyClick(&qml.view(), key, modifiers); }
    static QString textOf(const QQuickItem* found) { return found->property("text").toString(); }
    // What is written below an item and can be seen, in order.
    static QStringList textsOf(const QQuickItem* root)
    {
        QStringList read;
        for (const char* name : { "TipLine", "Line", "Prose" }) {
            for (const QQuickItem* text : QmlFixture::items(root, name)) {
                if (text->isVisible()) {
                    read.append(textOf(text));
                }
            }
        }
        return read;
    }
    static QStringList symbolsOf(const QQuickItem* root)
    {
        QStringList names;
        for (const QQuickItem* symbol : QmlFixture::items(root, "SystemSymbol")) {
            if (symbol->isVisible()) {
                names.append(symbol->property("name").toString());
            }
        }
        return names;
    }
    QString stateLabel() const { return QString::fromStdString(std::string(model->imagineState().label())); }
    std::size_t tasks(std::size_t project) const { return model->workspaces()[project].threads.size(); }

    QmlFixture qml;
    QQuickItem* root = nullptr;
    QQuickItem* sidebar = nullptr;
};

TEST_F(SidebarViewTest, TheHeaderHasTheBadgeTheNameAndTheWayToANewTask)
{
    open();
    QQuickItem* header = item("SidebarHeader");
    EXPECT_EQ(symbolsOf(header), (QStringList{ "sparkles", "square.and.pencil" }));
    EXPECT_EQ(textsOf(header), (QStringList{ "tessarin" }));
    EXPECT_EQ(QmlFixture::items(header, "SymbolButton")[0]->property("toolTip").toString(), "New task");
    const QSignalSpy asked(sidebar, SIGNAL(newTask()));
    QMetaObject::invokeMethod(QmlFixture::items(header, "SymbolButton")[0], "clicked");
    EXPECT_EQ(asked.count(), 1);
}

TEST_F(SidebarViewTest, TheSwitchHasCodeAndImagineAndShowsWhichOneIsOn)
{
    open();
    const QList<QQuickItem*> halves = items("SectionButton");
    ASSERT_EQ(halves.size(), 2);
    EXPECT_EQ(textOf(halves[0]) + " " + symbolsOf(halves[0]).join(" "), "Code chevron.left.forwardslash.chevron.right");
    EXPECT_EQ(textOf(halves[1]) + " " + symbolsOf(halves[1]).join(" "), "Imagine photo.on.rectangle.angled");
    EXPECT_EQ(placeOf(halves[1]).left() - placeOf(halves[0]).right(), 5);
    EXPECT_TRUE(halves[0]->property("current").toBool());
    EXPECT_FALSE(halves[1]->property("current").toBool());
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, placeOf(halves[1]).center().toPoint());
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_FALSE(halves[0]->property("current").toBool());
    EXPECT_TRUE(halves[1]->property("current").toBool());
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, placeOf(halves[0]).center().toPoint());
    EXPECT_EQ(model->selectedSection(), AppSection::build);
}

TEST_F(SidebarViewTest, TheArrowsGoFromOneSectionToTheOther)
{
    open();
    const QList<QQuickItem*> halves = items("SectionButton");
    halves[0]->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(model->selectedSection(), AppSection::imagine);
    EXPECT_TRUE(halves[1]->hasActiveFocus());
    press(Qt::Key_Left);
    EXPECT_EQ(model->selectedSection(), AppSection::build);
    EXPECT_TRUE(halves[0]->hasActiveFocus());
    press(Qt::Key_Tab);
    EXPECT_FALSE(halves[1]->hasActiveFocus()) << "Tab leads out of the switch";
}

TEST_F(SidebarViewTest, InCodeTheProjectsStandInTheModelsOrder)
{
    open();
    EXPECT_TRUE(list()->isVisible());
    EXPECT_FALSE(item("LibrarySummary")->isVisible());
    QStringList headings;
    for (const QQuickItem* heading : items("ProjectHeading")) {
        headings.append(heading->property("name").toString());
    }
    EXPECT_EQ(headings, (QStringList{ "project", "second" }));
    EXPECT_EQ(items("TaskRow").size(), 3);
    EXPECT_EQ(symbolsOf(item("SidebarFooter")), (QStringList{ "folder.badge.plus", "gearshape" }));
    EXPECT_EQ(textsOf(item("SidebarFooter")), (QStringList{ "Open Project" }));
    EXPECT_TRUE(desktop.questions.empty());
    QMetaObject::invokeMethod(QmlFixture::items(item("SidebarFooter"), "PlainButton")[0], "clicked");
    EXPECT_EQ(desktop.questions.size(), 1U);
}

TEST_F(SidebarViewTest, InImagineTheLibraryIsToldInsteadOfTheProjects)
{
    open();
    window.showImagine();
    EXPECT_FALSE(list()->isVisible());
    EXPECT_EQ(textsOf(item("LibrarySummary")),
        (QStringList{
            "IMAGINE LIBRARY", "0 creations", "Images and videos are generated through Grok Build and saved locally on this Mac." }));
    EXPECT_EQ(item("LibrarySummary")->property("spacing").toInt(), 10);
}

TEST_F(SidebarViewTest, TheBottomRowOfImagineTellsHowItsRuntimeIs)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    window.showImagine();
    EXPECT_EQ(textsOf(item("SidebarFooter")), (QStringList{ stateLabel() }));
    EXPECT_EQ(symbolsOf(item("SidebarFooter")), (QStringList{ "circle.fill", "gearshape" }));
    model->generateImagine("a lighthouse", ImagineKind::image);
    EXPECT_EQ(symbolsOf(item("SidebarFooter")), (QStringList{ "circle.fill", "gearshape" })) << "it only connects";
    waitUntil([this] { return model->imagineState().kind() == ConnectionState::Kind::working; });
    EXPECT_EQ(symbolsOf(item("SidebarFooter")), (QStringList{ "wand.and.stars", "gearshape" }));
    EXPECT_EQ(textsOf(item("SidebarFooter")), (QStringList{ stateLabel() }));
    model->cancelImagine();
    EXPECT_EQ(symbolsOf(item("SidebarFooter")), (QStringList{ "circle.fill", "gearshape" }));
}

TEST_F(SidebarViewTest, AHeadingHasTheNameAndTheWayToATaskInIt)
{
    open();
    QQuickItem* heading = item("ProjectHeading");
    EXPECT_EQ(symbolsOf(heading), (QStringList{ "folder.fill", "plus" }));
    EXPECT_EQ(textsOf(heading), (QStringList{ "project" }));
    QQuickItem* plus = QmlFixture::items(heading, "SymbolButton")[0];
    EXPECT_EQ(plus->property("toolTip").toString(), "New task in project");
    const QSignalSpy opened(sidebar, SIGNAL(taskOpened()));
    QMetaObject::invokeMethod(plus, "clicked");
    EXPECT_EQ(tasks(0), 2U);
    EXPECT_EQ(model->selectedWorkspace()->name, "project");
    EXPECT_EQ(opened.count(), 1) << "it is to be written in";
}

TEST_F(SidebarViewTest, ARowHasItsTitleAndATimeOnlyWithEntries)
{
    runtime.script("grok", testing::oneTurn("Done."));
    openProject({ "grok" });
    show();
    EXPECT_EQ(symbolsOf(item("TaskRow")), (QStringList{ "bubble.left" }));
    EXPECT_EQ(textsOf(item("TaskRow")), (QStringList{ "New task" }));
    runTurn("mend it");
    EXPECT_TRUE(QmlFixture::becomes([this] { return textsOf(item("TaskRow")) == QStringList({ "mend it", "just now" }); }));
    EXPECT_EQ(QmlFixture::items(item("TaskRow"), "Line")[0]->property("maximumLineCount").toInt(), 1);
}

TEST_F(SidebarViewTest, OnlyTheSelectedTaskIsHighlighted)
{
    open();
    const auto highlighted = [this] {
        std::vector<int> rows;
        for (int at = 0; at < 5; ++at) {
            QQuickItem* task = QmlFixture::items(rowAt(at), "TaskRow").value(0);
            const auto* ground = task == nullptr ? nullptr : task->property("background").value<QQuickItem*>();
            if (ground != nullptr && ground->property("color").value<QColor>().alpha() == 255) {
                rows.push_back(at);
            }
        }
        return rows;
    };
    EXPECT_EQ(highlighted(), (std::vector<int>{ 3 }));
    window.selectPreviousTask();
    EXPECT_EQ(highlighted(), (std::vector<int>{ 1 }));
}

TEST_F(SidebarViewTest, TabLeadsToTheSelectedTaskAndTheArrowsToEveryRow)
{
    open();
    takeFocus();
    EXPECT_EQ(row(), 3);
    EXPECT_TRUE(rowAt(3)->hasActiveFocus());
    press(Qt::Key_Up);
    EXPECT_EQ(row(), 2);
    EXPECT_EQ(qml.view().activeFocusItem()->property("toolTip").toString(), "New task in second");
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    EXPECT_EQ(row(), 0) << "there is no row above the first";
    press(Qt::Key_End);
    EXPECT_EQ(row(), 4);
    EXPECT_TRUE(rowAt(4)->hasActiveFocus());
    press(Qt::Key_Down);
    EXPECT_EQ(row(), 4);
    press(Qt::Key_Home);
    EXPECT_EQ(row(), 0);
    press(Qt::Key_PageDown);
    EXPECT_EQ(row(), 4);
    press(Qt::Key_PageUp);
    EXPECT_EQ(row(), 0);
    press(Qt::Key_Tab);
    EXPECT_FALSE(list()->hasActiveFocus()) << "Tab leads out of the list";
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(rowAt(0)->hasActiveFocus()) << "and back to the row of before";
}

TEST_F(SidebarViewTest, TheRowWithTheFocusIsInSightAndSeen)
{
    openProject({ "grok" });
    for (int i = 0; i < 60; ++i) {
        model->newThread();
    }
    show();
    takeFocus();
    press(Qt::Key_End);
    ASSERT_EQ(row(), 61);
    ASSERT_TRUE(QmlFixture::becomes([this] { return rowAt(61) != nullptr; }));
    EXPECT_LE(placeOf(rowAt(61)).bottom(), placeOf(list()).bottom());
    EXPECT_TRUE(QmlFixture::items(rowAt(61), "FocusRing").value(0)->isVisible());
    press(Qt::Key_Home);
    ASSERT_TRUE(QmlFixture::becomes([this] { return rowAt(0) != nullptr; }));
    EXPECT_GE(placeOf(rowAt(0)).top(), placeOf(list()).top());
    const ChatThread& last = model->workspaces()[0].threads.back();
    model->selectThread(last.id, model->workspaces()[0].id);
    ASSERT_TRUE(QmlFixture::becomes([this] { return rowAt(61) != nullptr; }));
    EXPECT_LE(placeOf(rowAt(61)).bottom(), placeOf(list()).bottom()) << "a task that is selected comes into sight";
}

TEST_F(SidebarViewTest, SpaceShowsATaskAndReturnGoesOnToWriteInIt)
{
    open();
    const QSignalSpy opened(sidebar, SIGNAL(taskOpened()));
    const Uuid before = *model->selectedThreadID();
    takeFocus();
    press(Qt::Key_Down);
    EXPECT_EQ(model->selectedThreadID(), before) << "the arrows only look";
    press(Qt::Key_Space);
    EXPECT_EQ(model->selectedThreadID(), model->workspaces()[1].threads[1].id);
    EXPECT_EQ(opened.count(), 0);
    EXPECT_TRUE(rowAt(4)->hasActiveFocus());
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    EXPECT_EQ(model->selectedThreadID(), before);
    EXPECT_EQ(opened.count(), 1);
}

TEST_F(SidebarViewTest, DeleteLeadsToTheEntryThatDeletesAndReturnDoesIt)
{
    for (const auto& [key, modifiers] :
        { std::pair(Qt::Key_Delete, Qt::NoModifier), std::pair(Qt::Key_Menu, Qt::NoModifier), std::pair(Qt::Key_F10, Qt::ShiftModifier) }) {
        if (sidebar == nullptr) {
            open();
        }
        model->newThread();
        takeFocus();
        const std::size_t before = tasks(1);
        press(key, modifiers);
        EXPECT_TRUE(QmlFixture::becomes([this] { return !list()->hasActiveFocus(); })) << key;
        EXPECT_EQ(tasks(1), before) << "nothing is deleted yet";
        press(Qt::Key_Return);
        EXPECT_EQ(tasks(1), before - 1) << key;
        EXPECT_TRUE(QmlFixture::becomes([this] { return rowAt(row()) != nullptr && rowAt(row())->hasActiveFocus(); }))
            << "the focus is on a row again";
    }
}

TEST_F(SidebarViewTest, EscapeLeavesTheMenuOfARowWithoutADeletion)
{
    open();
    takeFocus();
    press(Qt::Key_Delete);
    EXPECT_TRUE(QmlFixture::becomes([this] { return !list()->hasActiveFocus(); }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(QmlFixture::becomes([this] { return rowAt(3)->hasActiveFocus(); }));
    EXPECT_EQ(tasks(1), 2U);
    EXPECT_TRUE(QmlFixture::items(rowAt(3), "FocusRing").value(0)->isVisible());
}

TEST_F(SidebarViewTest, AProjectIsRemovedFromItsHeading)
{
    open();
    takeFocus();
    press(Qt::Key_Home);
    press(Qt::Key_Menu);
    EXPECT_TRUE(QmlFixture::becomes([this] { return !list()->hasActiveFocus(); }));
    press(Qt::Key_Return);
    ASSERT_EQ(model->workspaces().size(), 1U);
    EXPECT_EQ(model->workspaces()[0].name, "second");
    EXPECT_TRUE(QmlFixture::becomes([this] { return items("WorkspaceSection").size() == 3; })) << "its rows went with it";
}

TEST_F(SidebarViewTest, ThreeHundredProjectsHaveOnlyTheirVisibleRows)
{
    openProject({ "grok" });
    for (int i = 0; i < 299; ++i) {
        model->addWorkspace(makeFolder("project-" + std::to_string(i)));
    }
    show();
    EXPECT_EQ(list()->property("count").toInt(), 600);
    EXPECT_LT(items("WorkspaceSection").size(), 80);
    EXPECT_NE(rowAt(599), nullptr) << "the selected task is in sight";
}

} // namespace

} // namespace tessarin
