#include "Platform/Preferences.h"
#include "Printing.h"
#include "QmlFixture.h"
#include "Views/UpdateController.h"

#include <QTemporaryDir>

namespace tessarin
{

namespace
{

// Keeps the switch, and counts what it is asked for.
class CountingUpdater : public SoftwareUpdater
{
public:
    void startUpdater() override { }
    void checkForUpdates() override { ++checks; }
    void resetUpdateCycleAfterShortDelay() override { }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return isOn; }
    void setAutomaticallyChecksForUpdates(bool on) override { isOn = on; }

    int checks = 0;
    bool isOn = false;
};

class SoftwareUpdatesSectionTest : public ::testing::Test
{
protected:
    ~SoftwareUpdatesSectionTest() override { qml.view().setSource({}); }

    void show(const char* address)
    {
        preferences.setText(UpdateController::feedURLKey, address);
        updates = std::make_unique<UpdateController>(preferences, [this](SoftwareUpdaterDelegate&) {
            auto made = std::make_unique<CountingUpdater>();
            updater = made.get();
            return made;
        });
        root = qml.show("SoftwareUpdatesSection", { { "updates", QVariant::fromValue(updates.get()) } }, QSize(600, 300));
    }
    QQuickItem* item(const char* name) const { return QmlFixture::items(root, name).value(0); }
    QQuickItem* field() const { return item("StoredEntry"); }
    QString shownText(const char* name) const { return item(name)->property("text").toString(); }
    void press(const QQuickItem* control)
    {
        QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, control->mapToScene(control->boundingRect().center()).toPoint());
    }
    void type(const char* text)
    {
        for (const char* character = text; *character != '\0'; ++character) {
            QTest::keyClick(&qml.view(), *character);
        }
    }

    QTemporaryDir folder;
    Preferences preferences{ { folder.filePath("configuration").toStdString(), folder.filePath("data").toStdString() } };
    CountingUpdater* updater = nullptr;
    std::unique_ptr<UpdateController> updates;
    QmlFixture qml;
    QQuickItem* root = nullptr;
};

TEST_F(SoftwareUpdatesSectionTest, ItsTextsAreToTheLetter)
{
    show("https://example.com/appcast.xml");
    EXPECT_EQ(root->property("heading").toString(), "Software Updates");
    EXPECT_EQ(shownText("ToggleSwitch"), "Automatically check for updates");
    EXPECT_EQ(shownText("PushButton"), "Check Now");
    EXPECT_EQ(shownText("Prose"), "Sparkle will read the HTTPS appcast and verify the EdDSA-signed update archive before installing.");
    EXPECT_EQ(field()->property("text").toString(), "https://example.com/appcast.xml");
    EXPECT_TRUE(field()->property("placeholderText").toString().endsWith("/appcast.xml"));
}

TEST_F(SoftwareUpdatesSectionTest, WithAFeedThatIsNotUsableOnlyTheFieldCanBeUsed)
{
    show("http://example.com/appcast.xml");
    EXPECT_EQ(shownText("Prose"), "Add an HTTPS appcast URL to enable updates.");
    EXPECT_FALSE(item("ToggleSwitch")->isEnabled());
    EXPECT_FALSE(item("PushButton")->isEnabled());
    EXPECT_TRUE(field()->isEnabled());
    field()->forceActiveFocus(Qt::TabFocusReason);
    field()->setProperty("cursorPosition", 4);
    type("s");
    EXPECT_TRUE(item("ToggleSwitch")->isEnabled());
    EXPECT_TRUE(item("PushButton")->isEnabled());
}

TEST_F(SoftwareUpdatesSectionTest, TheSwitchShowsAndChangesWhatTheUpdaterKeeps)
{
    show("https://example.com/appcast.xml");
    EXPECT_EQ(item("ToggleSwitch")->property("isOn"), false);
    press(item("ToggleSwitch"));
    EXPECT_TRUE(updater->isOn);
    EXPECT_EQ(item("ToggleSwitch")->property("isOn"), true);
    press(item("ToggleSwitch"));
    EXPECT_FALSE(updater->isOn);
}

TEST_F(SoftwareUpdatesSectionTest, CheckNowChecks)
{
    show("https://example.com/appcast.xml");
    press(item("PushButton"));
    EXPECT_EQ(updater->checks, 1);
}

TEST_F(SoftwareUpdatesSectionTest, EachLetterIsStoredWithoutBlanksAndTheCaretStays)
{
    show("https://example.com/ab");
    field()->forceActiveFocus(Qt::TabFocusReason);
    field()->setProperty("cursorPosition", 0);
    type(" ");
    EXPECT_EQ(preferences.text("updateFeedURL.v1"), "https://example.com/ab");
    EXPECT_EQ(field()->property("cursorPosition").toInt(), 1);
    field()->setProperty("cursorPosition", 22);
    for (const char* letter : { "1", "2", " ", "3" }) {
        const int caret = field()->property("cursorPosition").toInt();
        type(letter);
        EXPECT_EQ(field()->property("cursorPosition").toInt(), caret + 1) << letter;
    }
    EXPECT_EQ(field()->property("text").toString(), " https://example.com/a12 3b");
    EXPECT_EQ(preferences.text("updateFeedURL.v1"), "https://example.com/a12 3b");
    QTest::keyClick(&qml.view(), Qt::Key_Return);
    EXPECT_EQ(field()->property("text").toString(), "https://example.com/a12 3b") << "when the person has finished";
}

TEST_F(SoftwareUpdatesSectionTest, AnEmptyFieldStaysEmpty)
{
    show("https://example.com/appcast.xml");
    field()->forceActiveFocus(Qt::TabFocusReason);
    QTest::keyClick(&qml.view(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&qml.view(), Qt::Key_Backspace);
    QTest::keyClick(&qml.view(), Qt::Key_Return);
    EXPECT_EQ(field()->property("text").toString(), "");
    EXPECT_EQ(preferences.text("updateFeedURL.v1"), "");
    EXPECT_FALSE(item("PushButton")->isEnabled());
}

} // namespace

} // namespace tessarin
