#include "PresenterFixture.h"
#include "QmlFixture.h"
#include "Views/PairingCode.h"
#include "Views/PairingCodeItem.h"

#include <QUrlQuery>

#include <algorithm>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessarin
{

namespace
{

// A port on which somebody else listens.
class TakenPort
{
public:
    TakenPort() : m_socket(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        m_address.sin6_family = AF_INET6;
        socklen_t size = sizeof m_address;
        auto* address = reinterpret_cast<sockaddr*>(&m_address);
        EXPECT_EQ(::bind(m_socket, address, size), 0);
        EXPECT_EQ(::listen(m_socket, 1), 0);
        EXPECT_EQ(::getsockname(m_socket, address, &size), 0);
    }
    ~TakenPort() { ::close(m_socket); }
    TakenPort(const TakenPort&) = delete;
    TakenPort& operator=(const TakenPort&) = delete;

    [[nodiscard]] std::uint16_t number() const { return ntohs(m_address.sin6_port); }

private:
    int m_socket;
    sockaddr_in6 m_address{};
};

class RemoteSettingsTest : public PresenterTest
{
protected:
    ~RemoteSettingsTest() override { qml.view().setSource({}); }

    // On any port that is free, when none is given.
    void show(std::uint16_t port = 0)
    {
        remotePort = port;
        openModel();
        window.attach(model);
        root = qml.show("SettingsView", { { "windowModel", QVariant::fromValue(&window) } }, QSize(660, 780));
        view = QmlFixture::items(root, "QQuickFlickable").value(0);
        section = QmlFixture::items(root, "RemoteSettingsSection").value(0);
        waitUntil([this] { return !remote("pairingLink").toString().isEmpty(); }, "the key");
    }
    // Scrolls to where all of the section is seen that fits.
    void reveal(const QQuickItem* part) const
    {
        const qreal end = view->property("contentHeight").toReal() - view->height();
        const qreal top = part->mapToItem(view, QPointF()).y() + view->property("contentY").toReal();
        view->setProperty("contentY", std::clamp(top, 0.0, std::max(end, 0.0)));
    }
    void showEnabled()
    {
        show();
        press(toggle());
        waitUntil([this] { return model->remoteHostState().kind() == RemoteHostState::Kind::listening; }, "the host to listen");
    }
    QVariant remote(const char* property) { return window.remote()->property(property); }
    QList<QQuickItem*> items(const char* name) const { return QmlFixture::items(section, name); }
    QQuickItem* item(const char* name) const { return items(name).value(0); }
    QQuickItem* toggle() const { return item("ToggleSwitch"); }
    QQuickItem* field() const { return item("AddressField"); }
    QQuickItem* button(const QString& text) const
    {
        for (QQuickItem* each : items("PushButton")) {
            if (each->property("text").toString() == text) {
                return each;
            }
        }
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }
    PairingCodeItem* code() const { return section->findChild<PairingCodeItem*>(); }
    void press(const QQuickItem* control)
    {
        reveal(control);
        QTest::mouseClick(&qml.view(), Qt::LeftButton, {}, control->mapToScene(control->boundingRect().center()).toPoint());
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) { QTest::keyClick(&qml.view(), key, modifiers); }
    void type(const char* text)
    {
        for (const char* character = text; *character != '\0'; ++character) {
            QTest::keyClick(&qml.view(), *character);
        }
    }
    void beginToType()
    {
        field()->forceActiveFocus(Qt::TabFocusReason);
        key(Qt::Key_A, Qt::ControlModifier);
    }
    QString shownAddress() const { return field()->property("text").toString(); }
    // All that can be read at this moment, from top to bottom.
    QStringList texts() const
    {
        QStringList read;
        collect(section, read);
        return read;
    }
    static void collect(const QQuickItem* part, QStringList& read)
    {
        for (const QQuickItem* child : part->childItems()) {
            const QString type = QString::fromLatin1(child->metaObject()->className());
            const QString text = child->property("text").toString();
            if (child->isVisible() && (type.startsWith("Line") || type.startsWith("Prose")) && !text.isEmpty()) {
                read.append(text);
            }
            if (child->isVisible()) {
                collect(child, read);
            }
        }
    }
    QString linkPart(const char* name)
    {
        return QUrlQuery(QUrl(remote("pairingLink").toString())).queryItemValue(name, QUrl::FullyDecoded);
    }

    QmlFixture qml;
    QQuickItem* root = nullptr;
    QQuickItem* view = nullptr; // that scrolls
    QQuickItem* section = nullptr;
};

TEST_F(RemoteSettingsTest, WhileItIsOffThereIsOnlyTheSwitchAndTheState)
{
    show();
    EXPECT_EQ(texts(), (QStringList{ "Android Remote", "Allow paired Android devices to control this Mac", "Off" }));
    EXPECT_FALSE(field()->isVisible());
    EXPECT_FALSE(code()->isVisible());
}

TEST_F(RemoteSettingsTest, WhileItIsOnTheLinkTheCodeAndTheWarningAreThereToTheLetter)
{
    showEnabled();
    EXPECT_EQ(texts(),
        (QStringList{ "Android Remote", "Allow paired Android devices to control this Mac",
            "Available on port " + QString::number(model->remoteHostState().port()), "Copy Pairing Link", "Pair the Android app",
            "Scan this code or paste the pairing link on Android. Use the Mac’s Tailscale IP for access away from your home network.",
            "The link is a secret. Anyone who has it can request actions until you rotate the key.", "Rotate Access Key" }));
    EXPECT_TRUE(field()->isVisible());
    EXPECT_EQ(field()->property("placeholderText").toString(), "Mac address or Tailscale IP");
}

TEST_F(RemoteSettingsTest, TheSwitchTurnsTheHostOnAndOff)
{
    show();
    EXPECT_EQ(toggle()->property("isOn"), false);
    press(toggle());
    EXPECT_TRUE(model->remoteEnabled());
    EXPECT_EQ(toggle()->property("isOn"), true);
    toggle()->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Space);
    EXPECT_FALSE(model->remoteEnabled());
    EXPECT_EQ(toggle()->property("isOn"), false);
    key(Qt::Key_Return);
    EXPECT_TRUE(model->remoteEnabled());
}

TEST_F(RemoteSettingsTest, TheSwitchFollowsTheModel)
{
    show();
    model->setRemoteEnabled(true);
    EXPECT_EQ(toggle()->property("isOn"), true);
    press(toggle());
    model->setRemoteEnabled(true);
    EXPECT_EQ(toggle()->property("isOn"), true);
}

TEST_F(RemoteSettingsTest, AFailureIsToldInWordsBelowTheState)
{
    const TakenPort taken;
    show(taken.number());
    press(toggle());
    waitUntil([this] { return model->remoteHostState().kind() == RemoteHostState::Kind::failed; }, "the failure");
    const QString reason = QString::fromStdString(model->remoteHostState().failureText());
    ASSERT_FALSE(reason.isEmpty());
    EXPECT_TRUE(texts().contains("Needs attention"));
    EXPECT_TRUE(texts().contains(reason));
    EXPECT_EQ(remote("stateTint").toInt(), Tint::Red);
    model->setRemoteEnabled(false);
    waitUntil([this] { return model->remoteHostState().kind() == RemoteHostState::Kind::disabled; }, "the end");
    EXPECT_FALSE(texts().contains(reason));
}

TEST_F(RemoteSettingsTest, EveryLetterOfTheAddressGoesIntoTheLinkAtOnce)
{
    showEnabled();
    EXPECT_EQ(shownAddress(), "192.168.1.20");
    beginToType();
    type("10.0");
    EXPECT_EQ(linkPart("host"), "10.0");
    type(".0.7");
    EXPECT_EQ(linkPart("host"), "10.0.0.7");
    EXPECT_EQ(code()->value(), remote("pairingLink").toString());
    EXPECT_EQ(preferences.text("remoteAdvertisedHost.v1"), "10.0.0.7");
}

TEST_F(RemoteSettingsTest, AnEmptyFieldStaysEmptyWhileItIsTypedInAndThenShowsTheSuggestion)
{
    showEnabled();
    suggestedAddress = "100.64.0.1";
    beginToType();
    key(Qt::Key_Backspace);
    EXPECT_EQ(model->remoteAdvertisedHost(), "100.64.0.1");
    EXPECT_EQ(shownAddress(), "");
    type("box");
    EXPECT_EQ(shownAddress(), "box");
    EXPECT_EQ(model->remoteAdvertisedHost(), "box");
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Backspace);
    key(Qt::Key_Return);
    EXPECT_EQ(shownAddress(), "100.64.0.1");
}

TEST_F(RemoteSettingsTest, BlanksAroundTheAddressStayUntilThePersonLeavesTheField)
{
    showEnabled();
    beginToType();
    type(" box ");
    EXPECT_EQ(shownAddress(), " box ");
    EXPECT_EQ(linkPart("host"), "box");
    key(Qt::Key_Tab);
    EXPECT_EQ(shownAddress(), "box");
}

TEST_F(RemoteSettingsTest, AChangeOfTheHostDoesNotDisturbWhoTypes)
{
    showEnabled();
    beginToType();
    type("box ");
    model->rotateRemoteAccessKey();
    const QString before = remote("pairingLink").toString();
    waitUntil([&] { return remote("pairingLink").toString() != before; }, "another key");
    EXPECT_EQ(shownAddress(), "box ");
    EXPECT_TRUE(field()->hasActiveFocus());
}

TEST_F(RemoteSettingsTest, CopyPutsTheLinkOnThePasteboardAsASecret)
{
    showEnabled();
    press(button("Copy Pairing Link"));
    EXPECT_EQ(desktop.secretsOnPasteboard, std::vector<std::string>{ *model->remotePairingURL() });
}

TEST_F(RemoteSettingsTest, RotatingShowsAnotherCode)
{
    showEnabled();
    const QString before = code()->value();
    press(button("Rotate Access Key"));
    waitUntil([&] { return code()->value() != before; }, "another code");
    EXPECT_EQ(linkPart("host"), "192.168.1.20");
}

TEST_F(RemoteSettingsTest, TheCodeOfTheLinkHasWholePixelsForEachModule)
{
    showEnabled();
    ASSERT_TRUE(code()->hasCode());
    const QImage picture = PairingCode::image(remote("pairingLink").toString());
    EXPECT_EQ(code()->picture(), picture);
    const int modules = picture.width() / PairingCode::modulePixels;
    EXPECT_EQ(int(code()->width()) % modules, 0);
    EXPECT_GE(code()->width() / modules, 3);
}

TEST_F(RemoteSettingsTest, ThePixelsOfTheWindowAreTheModulesOfTheCode)
{
    showEnabled();
    const QImage picture = code()->picture();
    const int modules = picture.width() / PairingCode::modulePixels;
    const int size = int(code()->width()) / modules;
    const auto cornerNow = [this] { return code()->mapToScene(QPointF()).toPoint(); };
    reveal(code());
    ASSERT_TRUE(QmlFixture::becomes([&] { return qml.view().grabWindow().pixelColor(cornerNow() + QPoint(size, size)) == Qt::black; }));
    const QImage seen = qml.view().grabWindow();
    const QPoint corner = cornerNow();
    for (int y = 0; y < int(code()->height()); ++y) {
        for (int x = 0; x < int(code()->width()); ++x) {
            const QPoint module(x / size * PairingCode::modulePixels, y / size * PairingCode::modulePixels);
            ASSERT_EQ(seen.pixelColor(corner + QPoint(x, y)), picture.pixelColor(module)) << x << ' ' << y;
        }
    }
}

TEST_F(RemoteSettingsTest, ALinkThatFitsNoCodeShowsASymbol)
{
    showEnabled();
    model->updateRemoteAdvertisedHost(std::string(3000, 'x'));
    EXPECT_FALSE(code()->hasCode());
    QQuickItem* symbol = QmlFixture::items(item("PairingQRCode"), "SystemSymbol").value(0);
    EXPECT_TRUE(symbol->isVisible());
    EXPECT_EQ(symbol->property("name").toString(), "qrcode");
    EXPECT_EQ(symbol->width(), 72);
    model->updateRemoteAdvertisedHost("box");
    EXPECT_FALSE(symbol->isVisible());
}

TEST_F(RemoteSettingsTest, TheDotHasEightPoints)
{
    show();
    const QQuickItem* dot = item("StatusLabel")->childItems().value(0);
    EXPECT_EQ(dot->size(), QSizeF(8, 8));
}

TEST_F(RemoteSettingsTest, NothingReachesOverTheEdgeOfANarrowWindow)
{
    showEnabled();
    model->updateRemoteAdvertisedHost(std::string(200, 'w'));
    qml.view().resize(520, 320);
    ASSERT_TRUE(QmlFixture::becomes([this] { return root->width() == 520; }));
    for (const char* name : { "Line", "Prose", "PushButton", "AddressField", "PairingQRCode", "ToggleSwitch" }) {
        for (const QQuickItem* each : items(name)) {
            const QRectF place = each->mapRectToItem(root, QRectF(QPointF(), each->size()));
            EXPECT_GE(place.left(), 0) << name;
            EXPECT_LE(place.right(), 520) << name << each->property("text").toString().toStdString();
        }
    }
}

TEST_F(RemoteSettingsTest, TheKeysReachEveryControlAndTheViewFollows)
{
    showEnabled();
    qml.view().resize(520, 320);
    ASSERT_TRUE(QmlFixture::becomes([this] { return root->height() == 320; }));
    static_cast<void>(qml.view().grabWindow()); // what is narrower now has its place
    QmlFixture::items(root, "Segment").value(0)->forceActiveFocus(Qt::TabFocusReason); // the press has left it at the switch
    toggle()->forceActiveFocus(Qt::TabFocusReason);
    QStringList seen;
    for (int step = 0; step < 4; ++step) {
        const QQuickItem* focus = qml.view().activeFocusItem();
        seen.append(focus->property(focus == field() ? "name" : "text").toString());
        const QRectF place = focus->mapRectToItem(root, focus->boundingRect());
        EXPECT_GE(place.top(), 0) << seen.last().toStdString();
        EXPECT_LE(place.bottom(), 320) << seen.last().toStdString();
        key(Qt::Key_Tab);
    }
    EXPECT_EQ(seen,
        (QStringList{
            "Allow paired Android devices to control this Mac", "Mac address or Tailscale IP", "Copy Pairing Link", "Rotate Access Key" }));
    EXPECT_FALSE(section->isAncestorOf(qml.view().activeFocusItem())) << "all around";
}

} // namespace

} // namespace tessarin
