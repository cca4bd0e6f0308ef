#include "PresenterFixture.h"

#include <QSignalSpy>
#include <QTest>

namespace tessarin
{

namespace
{

using testing::Scenario;

class AnnouncerTest : public PresenterTest
{
protected:
    // What has been said since the last time.
    QStringList heard()
    {
        QCoreApplication::processEvents();
        return std::exchange(m_said, {});
    }
    void open(std::initializer_list<std::string_view> programs = { "grok" })
    {
        QObject::connect(window.announcer(), &Announcer::said, window.announcer(),
            [this] { m_said.append(window.announcer()->property("text").toString()); });
        openWindow(programs);
    }

private:
    QStringList m_said;
};

TEST_F(AnnouncerTest, TheEndOfATurnIsTold)
{
    runtime.script("grok", testing::oneTurn("Done."));
    open();
    runTurn("mend it");
    EXPECT_EQ(heard(), (QStringList{ "Grok has finished." }));
}

TEST_F(AnnouncerTest, AFailureIsToldOnce)
{
    runtime.script("grok", testing::failingTurn("The wheel came off."));
    open();
    model->send("roll");
    waitFor(ConnectionState::Kind::failed);
    EXPECT_EQ(heard(), (QStringList{ "The wheel came off." }));
    model->clearError();
    EXPECT_EQ(heard(), QStringList());
}

TEST_F(AnnouncerTest, APersonWhoStopsHearsThatAndNoEnd)
{
    runtime.script("grok", testing::hangingTurn());
    open();
    model->send("go");
    waitFor(ConnectionState::Kind::working);
    EXPECT_EQ(heard(), QStringList());
    model->stopWorking();
    EXPECT_EQ(heard(), (QStringList{ "Stopped by you." }));
}

TEST_F(AnnouncerTest, WhoAsksForWhatIsTold)
{
    Scenario asking;
    asking.handshake().expect("session/prompt");
    asking.send(R"({"jsonrpc":"2.0","id":7,"method":"session/request_permission","params":{"toolCall":{"title":"Run make"},)"
                R"("options":[{"optionId":"a","name":"Allow once","kind":"allow_once"}]}})");
    asking.expectResponse(7).waitForFile("go");
    runtime.script("grok", asking);
    open();
    model->send("go");
    waitUntil([this] { return model->permissionRequest().has_value(); });
    EXPECT_EQ(heard(), (QStringList{ "Grok needs permission: Run make" }));
    model->respondToPermission("a");
    EXPECT_EQ(heard(), QStringList()) << "an answer is no news";
}

TEST_F(AnnouncerTest, AHandoffIsTold)
{
    runtime.script("grok", testing::failingTurn(testing::usageLimit));
    runtime.script("kimi", testing::oneTurn("I go on."));
    open({ "grok", "kimi" });
    model->send("mend it");
    waitUntil([this] { return texts().size() == 2; });
    EXPECT_EQ(kinds().back(), ChatEntryKind::system);
    EXPECT_EQ(heard(), (QStringList{ QString::fromStdString(texts().back()) }));
    waitUntil([this] { return texts().size() == 3 && model->connectionState().kind() == ConnectionState::Kind::ready; });
    EXPECT_EQ(heard(), (QStringList{ "Kimi has finished." }));
}

TEST_F(AnnouncerTest, TheSameTextMaySoundAgain)
{
    runtime.script("grok", testing::failingTurn("The wheel came off."));
    open();
    for (int i = 0; i < 2; ++i) {
        model->send("roll");
        EXPECT_EQ(heard(), QStringList());
        waitFor(ConnectionState::Kind::failed);
        EXPECT_EQ(heard(), (QStringList{ "The wheel came off." })) << i;
    }
}

} // namespace

} // namespace tessarin
