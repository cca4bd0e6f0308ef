#include "PresenterFixture.h"
#include "QmlFixture.h"

#include <QDir>

namespace tessarin
{

namespace
{

// Keys come as fast as a person's hands, and no sheet waits for its own coming in to be over.
class SheetFocusTest : public PresenterTest
{
protected:
    void open()
    {
        openWindow();
        qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(980, 640));
    }
    void askForFolder()
    {
        folderPicker.ask({ "Open", "Open" }, [this](const std::optional<std::string>& path) { answers.push_back(path); });
    }
    void type(const QString& text)
    {
        for (const QChar& letter : text) {
            QTest::keyClick(&qml.view(), letter.toLatin1());
        }
    }
    QString path()
    {
        for (const QQuickItem* row : QmlFixture::items(qml.view().contentItem(), "PathRow")) {
            return row->property("path").toString();
        }
        return "no sheet";
    }

    QmlFixture qml;
    std::vector<std::optional<std::string>> answers;
};

TEST_F(SheetFocusTest, APathIsTakenFromItsFirstLetterInPlaceOfTheOneThatStood)
{
    open();
    askForFolder();
    type("/not");
    EXPECT_EQ(path(), "/not");
    QTest::keyClick(&qml.view(), Qt::Key_Return);
    EXPECT_TRUE(folderPicker.property("problem").toString().contains("/not"));
}

TEST_F(SheetFocusTest, EscapeEndsASheetThatIsStillComingIn)
{
    open();
    askForFolder();
    QTest::keyClick(&qml.view(), Qt::Key_Escape);
    EXPECT_EQ(answers, std::vector<std::optional<std::string>>{ std::nullopt });
}

} // namespace

} // namespace tessarin
