#include "Views/CaretRest.h"

#include "QmlFixture.h"

#include <QGuiApplication>
#include <QStyleHints>

namespace tessarin
{

namespace
{

class CaretRestTest : public testing::Test
{
protected:
    CaretRestTest() { QGuiApplication::instance()->installEventFilter(&rest); }
    ~CaretRestTest() override
    {
        qml.view().setSource({});
        QGuiApplication::styleHints()->setCursorFlashTime(-1);
    }

    [[nodiscard]] static int flashTime() { return QGuiApplication::styleHints()->cursorFlashTime(); }
    void awaitRest()
    {
        ASSERT_TRUE(QmlFixture::becomes([] { return flashTime() == 0; }));
    }

    QQuickItem* openField()
    {
        QQuickItem* field = qml.show("TextEntry", { { "name", "Name" }, { "focus", true } }, QSize(200, 40));
        field->forceActiveFocus();
        return field;
    }

    const int systemFlashTime = flashTime();
    QmlFixture qml;
    CaretRest rest{ std::chrono::milliseconds(20) };
};

TEST_F(CaretRestTest, TheCaretStandsStillWhenNobodyTypes)
{
    ASSERT_GT(systemFlashTime, 0);
    awaitRest();
}

TEST_F(CaretRestTest, AKeyAClickAndTheFocusLetItBlinkAgain)
{
    openField();
    awaitRest();
    // It may be at rest again before one could look.
    QList<int> seen;
    const QObject watcher;
    QObject::connect(QGuiApplication::styleHints(), &QStyleHints::cursorFlashTimeChanged, &watcher, [&seen] { seen.append(flashTime()); });
    const auto hasBlinked = [&] { return !seen.isEmpty() && seen.first() == systemFlashTime; };
    QTest::keyPress(&qml.view(), Qt::Key_A);
    EXPECT_TRUE(hasBlinked());
    awaitRest();
    seen.clear();
    QTest::mousePress(&qml.view(), Qt::LeftButton, {}, QPoint(20, 20));
    EXPECT_TRUE(hasBlinked());
    awaitRest();
    seen.clear();
    QFocusEvent focus(QEvent::FocusIn);
    QGuiApplication::sendEvent(&qml.view(), &focus);
    EXPECT_TRUE(hasBlinked());
    awaitRest();
}

TEST_F(CaretRestTest, ThePointerAloneDoesNotWakeIt)
{
    openField();
    awaitRest();
    QTest::mouseMove(&qml.view(), QPoint(30, 20));
    EXPECT_EQ(flashTime(), 0);
}

TEST_F(CaretRestTest, ACaretAtRestIsInSight)
{
    const QQuickItem* field = openField();
    awaitRest();
    EXPECT_TRUE(field->property("cursorVisible").toBool());
}

} // namespace

} // namespace tessarin
