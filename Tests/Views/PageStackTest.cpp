#include "Views/PageStack.h"

#include "InlineQml.h"
#include "QmlFixture.h"

#include <QPointer>

#include <algorithm>

namespace tessarin
{

namespace
{

// A stack of pages of 200 in a view of 400 by 300, which stands below a head of 100.
class PageStackTest : public testing::Test
{
protected:
    explicit PageStackTest(const char* text = "Flickable { width: 400; height: 300; contentHeight: content.height\n"
                                              "Item { id: content; width: 400; height: 100 + stack.height\n"
                                              "PageStack { id: stack; objectName: 'stack'; y: 100; width: 400\n"
                                              "property var heights: ({})\n"
                                              "delegate: Item { required property int index; implicitWidth: 300 + index\n"
                                              "height: stack.heights[index] ?? 200 } } } }")
        : root(qml.create(text)), view(qobject_cast<QQuickItem*>(root.get())), stack(root->findChild<PageStack*>(QStringLiteral("stack")))
    {
        view->setParentItem(window.contentItem());
        window.resize(400, 300);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    void frame() { EXPECT_FALSE(window.grabWindow().isNull()); }
    void scrollTo(double y)
    {
        view->setProperty("contentY", y);
        frame();
    }
    [[nodiscard]] double contentY() const { return view->property("contentY").toDouble(); }
    // Those that exist, as they stand among their siblings.
    [[nodiscard]] QList<int> pages() const
    {
        QList<int> indices;
        for (const QQuickItem* page : stack->childItems()) {
            indices.append(page->property("index").toInt());
        }
        return indices;
    }
    [[nodiscard]] QQuickItem* page(int index) const { return stack->childItems().value(pages().indexOf(index)); }
    [[nodiscard]] double topInView(int index) const { return page(index)->mapToItem(view, QPointF()).y(); }

    InlineQml qml;
    QQuickWindow window;
    std::unique_ptr<QObject> root;
    QQuickItem* view;
    PageStack* stack;
};

TEST_F(PageStackTest, OnlyThePagesNearTheSightAndAtTheEndExist)
{
    stack->setCount(100);
    frame();
    EXPECT_EQ(pages(), (QList<int>{ 0, 1, 98, 99 })) << "half a view below what is seen, and the end";
    scrollTo(10000);
    EXPECT_FALSE(pages().contains(0));
    EXPECT_TRUE(pages().endsWith(99));
    EXPECT_LT(pages().size(), 10);
}

TEST_F(PageStackTest, WhatIsSeenExistsWhereverItIsScrolledTo)
{
    stack->setCount(100);
    frame();
    for (int step = 0; step < 200; ++step) {
        scrollTo((step * 7919) % 19000);
        const QList<QQuickItem*> existing = stack->childItems();
        double seen = std::max(0.0, 100 - contentY()); // the head
        for (const QQuickItem* item : existing) {
            const double top = item->mapToItem(view, QPointF()).y();
            seen += std::max(0.0, std::min(300.0, top + item->height()) - std::max(0.0, top));
        }
        ASSERT_NEAR(seen, 300, 0.01) << contentY();
        ASSERT_LT(existing.size(), 12);
    }
}

TEST_F(PageStackTest, PagesStandInTheOrderInWhichTheyAreRead)
{
    stack->setCount(100);
    scrollTo(15000);
    for (int step = 0; step < 50; ++step) {
        scrollTo(contentY() - 140);
        const QList<int> indices = pages();
        ASSERT_TRUE(std::is_sorted(indices.begin(), indices.end()));
    }
}

TEST_F(PageStackTest, WhatIsSeenStaysInItsPlaceWhenAPageAboveItComesIntoBeing)
{
    stack->setProperty("heights", QVariantMap{ { "20", 900 }, { "21", 30 }, { "22", 0 }, { "23", 777 } });
    stack->setCount(100);
    scrollTo(15000);
    for (int step = 0; step < 50; ++step) {
        const QList<int> before = pages();
        const auto seen = std::find_if(before.begin(), before.end(),
            [this](int index) { return topInView(index) <= 150 && topInView(index) + page(index)->height() > 150; });
        ASSERT_NE(seen, before.end());
        const double top = topInView(*seen);
        scrollTo(contentY() - 90);
        ASSERT_NEAR(topInView(*seen), top + 90, 0.01) << *seen;
    }
}

TEST_F(PageStackTest, APageThatIsGoneIsAsHighAndAsWideAsItWas)
{
    stack->setProperty("heights", QVariantMap{ { "0", 3000 } });
    stack->setCount(20);
    frame();
    const double before = stack->implicitHeight();
    EXPECT_EQ(before, 3000 + 2 * 200 + 17 * PageStack::likelyHeight) << "and the others are likely to be so high";
    EXPECT_EQ(stack->implicitWidth(), 300 + 19);
    scrollTo(5000);
    EXPECT_FALSE(pages().contains(0));
    EXPECT_EQ(stack->childItems().front()->y(), 3000 + (pages().front() - 1) * PageStack::likelyHeight);
    scrollTo(0);
    EXPECT_EQ(page(0)->height(), 3000);
}

TEST_F(PageStackTest, WhatGrowsMovesWhatStandsBelowItAtOnce)
{
    stack->setCount(3);
    EXPECT_EQ(stack->implicitHeight(), 600);
    stack->setProperty("heights", QVariantMap{ { "1", 250 } });
    EXPECT_EQ(page(2)->y(), 450);
    EXPECT_EQ(stack->implicitHeight(), 650);
    stack->setWidth(350);
    EXPECT_EQ(page(1)->width(), 350);
}

TEST_F(PageStackTest, AShortTextExistsAsAWholeAtOnce)
{
    stack->setCount(PageStack::pagesOfAShortText);
    EXPECT_EQ(pages().size(), PageStack::pagesOfAShortText);
    EXPECT_EQ(stack->implicitHeight(), 200 * PageStack::pagesOfAShortText);
}

TEST_F(PageStackTest, WhatGrowsAtItsEndExistsThereWhereverItIsScrolledTo)
{
    for (int count = 1; count <= 40; ++count) {
        stack->setCount(count);
        frame();
        ASSERT_TRUE(pages().contains(count - 1)) << count;
    }
    EXPECT_LE(pages().size(), 8) << "and what was its end has gone";
}

TEST_F(PageStackTest, PagesGoWithTheirText)
{
    stack->setCount(100);
    frame();
    const QPointer<QQuickItem> last = page(99);
    stack->setCount(1);
    EXPECT_EQ(pages(), QList<int>{ 0 });
    EXPECT_EQ(stack->implicitHeight(), 200);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(last, nullptr);
    stack->setCount(0);
    EXPECT_EQ(stack->implicitHeight(), 0);
}

TEST_F(PageStackTest, AllPagesExistWhileTheWholeIsWanted)
{
    stack->setCount(50);
    frame();
    stack->setWhole(true);
    EXPECT_EQ(pages().size(), 50);
    stack->setWhole(false);
    frame();
    EXPECT_LT(pages().size(), 10);
}

TEST_F(PageStackTest, PagesThatAreKeptStayOutOfSight)
{
    stack->setCount(100);
    frame();
    const QPointer<QQuickItem> first = page(0);
    stack->setProperty("kept", true);
    scrollTo(10000);
    EXPECT_EQ(page(0), first);
    EXPECT_TRUE(pages().size() > 6) << "others come all the same";
    stack->setProperty("kept", false);
    frame();
    EXPECT_FALSE(pages().contains(0));
}

// The view is found when the stack comes into it later.
class LatePageStackTest : public PageStackTest
{
protected:
    LatePageStackTest()
        : PageStackTest("Flickable { id: view; width: 400; height: 300; contentHeight: 100000\n"
                        "property Item stack: PageStack { id: stack; objectName: 'stack'; width: 400\n"
                        "delegate: Item { required property int index; height: 200 } } }")
    {
    }
};

TEST_F(LatePageStackTest, OnlyTheEndExistsUntilThereIsAViewAroundIt)
{
    stack->setCount(100);
    frame();
    EXPECT_EQ(pages(), (QList<int>{ 98, 99 }));
    stack->setParentItem(view->property("contentItem").value<QQuickItem*>());
    frame();
    EXPECT_TRUE(pages().contains(0));
    EXPECT_TRUE(pages().contains(1));
}

} // namespace

} // namespace tessarin
