#include "PresenterFixture.h"
#include "QmlFixture.h"

namespace tessarin
{

namespace
{

using testing::Scenario;

class PermissionSheetTest : public PresenterTest
{
protected:
    static std::string request(int id, const std::string& optionID)
    {
        const JsonObject option{ { "optionId", optionID }, { "name", "Allow" }, { "kind", "allow_once" } };
        return compactJson(JsonObject{ { "jsonrpc", "2.0" }, { "id", id }, { "method", "session/request_permission" },
            { "params", JsonObject{ { "toolCall", { { "title", "Run " + std::to_string(id) } } }, { "options", JsonArray{ option } } } } });
    }
    void open(const Scenario& scenario)
    {
        runtime.script("grok", scenario);
        openWindow();
        qml.show("RootView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(980, 640));
        model->send("Hi");
        awaitRequest(7);
    }
    void awaitRequest(int id)
    {
        waitUntil([&] { return model->permissionRequest() && model->permissionRequest()->id == id; }, "the request");
    }
    // Until what is shown has come to rest.
    void awaitSheet()
    {
        EXPECT_TRUE(QmlFixture::becomes([this] {
            const QList<QObject*> objects = qml.view().rootObject()->findChildren<QObject*>();
            return std::any_of(objects.begin(), objects.end(), [](const QObject* object) {
                return QByteArray(object->metaObject()->className()).startsWith("PermissionSheet_QML")
                    && object->property("stands").toBool();
            });
        }));
    }
    void answerByReturn()
    {
        awaitSheet();
        press();
        EXPECT_FALSE(model->permissionRequest());
    }
    // The middle of the button of that text.
    QPoint placeOf(const QString& text)
    {
        for (const QQuickItem* item : QmlFixture::items(qml.view().contentItem(), "PushButton")) {
            if (item->property("text").toString() == text && item->width() > 0 && item->isVisible()) {
                return item->mapToScene(item->boundingRect().center()).toPoint();
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        return {};
    }
    void press() { QTest::keyClick(&qml.view(), Qt::Key_Return); }
    std::string chosen(int id)
    {
        std::string option = "none";
        waitUntil(
            [&] {
                for (const Json& message : runtime.received("grok")) {
                    const JsonObject& object = message.as_object();
                    if (!object.contains("method") && integerAt(object, "id") == id) {
                        option = object.at("result").at("outcome").at("optionId").as_string();
                        return true;
                    }
                }
                return false;
            },
            "the answer");
        return option;
    }

    QmlFixture qml;
};

TEST_F(PermissionSheetTest, AReturnThatWasMeantForSomethingElseGivesNoPermission)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, "yes")).expectResponse(7).replyTo("session/prompt", testing::endTurn);
    open(scenario);
    press(); // the sheet is on its way
    EXPECT_TRUE(model->permissionRequest());
    answerByReturn();
    EXPECT_EQ(chosen(7), "yes");
}

TEST_F(PermissionSheetTest, AReturnThatWasMeantForTheRequestBeforeGivesNoPermission)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, "first")).waitForFile("go").send(request(8, "second"));
    open(scenario.expectResponse(8).replyTo("session/prompt", testing::endTurn));
    awaitSheet();
    runtime.touch("go");
    awaitRequest(8);
    press();
    EXPECT_TRUE(model->permissionRequest()) << "the second has not been seen";
    answerByReturn();
    EXPECT_EQ(chosen(8), "second");
}

TEST_F(PermissionSheetTest, APressThatBeganOnTheRequestBeforeGivesNoPermission)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, "yes")).waitForFile("go").send(request(8, "yes"));
    open(scenario.expectResponse(8).replyTo("session/prompt", testing::endTurn));
    awaitSheet();
    const QPoint button = placeOf("Allow");
    QTest::mousePress(&qml.view(), Qt::LeftButton, {}, button);
    runtime.touch("go");
    awaitRequest(8);
    awaitSheet();
    QTest::mouseRelease(&qml.view(), Qt::LeftButton, {}, button);
    EXPECT_TRUE(model->permissionRequest());
    QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, placeOf("Allow"));
    EXPECT_FALSE(model->permissionRequest());
    EXPECT_EQ(chosen(8), "yes");
}

TEST_F(PermissionSheetTest, TheKeysWorkOnARequestThatTookThePlaceOfOneWhoseButtonHadTheFocus)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, "yes")).waitForFile("go").send(request(8, "yes"));
    open(scenario.expectResponse(8).replyTo("session/prompt", testing::endTurn));
    awaitSheet();
    QTest::keyClick(&qml.view(), Qt::Key_Tab);
    QTest::keyClick(&qml.view(), Qt::Key_Tab);
    runtime.touch("go");
    awaitRequest(8);
    answerByReturn();
    EXPECT_EQ(chosen(8), "yes");
}

TEST_F(PermissionSheetTest, AnOptionWithAnEmptyIdIsAnsweredAsAnyOther)
{
    Scenario scenario;
    scenario.handshake().expect("session/prompt").send(request(7, "")).expectResponse(7).replyTo("session/prompt", testing::endTurn);
    open(scenario);
    answerByReturn();
    EXPECT_EQ(chosen(7), "");
}

} // namespace

} // namespace tessarin
