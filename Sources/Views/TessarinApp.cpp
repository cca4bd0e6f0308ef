#include "Views/TessarinApp.h"

#include "App/AppModel.h"
#include "Models/WorkspaceStore.h"
#include "Platform/FreedMemory.h"
#include "Platform/InstanceLock.h"
#include "Platform/Preferences.h"
#include "Services/ProgramVersion.h"
#include "Views/ButtonAccessible.h"
#include "Views/CaretRest.h"
#include "Views/FrameReport.h"
#include "Views/ReadOnlyShortcuts.h"
#include "Views/SignalWatch.h"
#include "Views/SymbolProvider.h"
#include "Views/SystemUpdater.h"
#include "Views/UpdateController.h"
#include "Views/WindowPlace.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQmlComponent>
#include <QScreen>
#include <QSessionManager>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

namespace tessarin
{

namespace
{

bool hasWindowBeside(const QWindow& window)
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    return std::any_of(
        windows.begin(), windows.end(), [&](const QWindow* each) { return each->isVisible() && each->transientParent() == &window; });
}

} // namespace

int TessarinApp::run(int argc, char** argv)
{
    // Never destroyed: a client that was stopped may still be ending its child, and post about it, when the program ends.
    static QtMainThread& mainThread = *new QtMainThread;
    const StoreLocations locations = StoreLocations::current();
    QPointer<TessarinApp> program;
    const auto lock = InstanceLock::acquire(locations, mainThread.mainThread(), [&program] {
        if (program) {
            program->raise();
        }
    });
    if (!lock) {
        return 0;
    }
    Preferences preferences(locations);
    WorkspaceStore store(preferences);
    QGuiApplication::setApplicationName(QStringLiteral("tessarin"));
    QGuiApplication::setApplicationVersion(QString::fromLatin1(programVersion().data(), static_cast<qsizetype>(programVersion().size())));
    QGuiApplication::setDesktopFileName(QStringLiteral("tessarin"));
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    QGuiApplication application(argc, argv);
    ButtonAccessible::install();
    CaretRest caretRest;
    application.installEventFilter(&caretRest);
    ReadOnlyShortcuts shortcuts;
    application.installEventFilter(&shortcuts);
    std::optional<SignalWatch> signalWatch(std::in_place);

    TessarinApp app(preferences, store, mainThread.mainThread());
    program = &app;
    connect(&*signalWatch, &SignalWatch::ended, app.m_windowModel.quitting(), &Quitting::end);
    connect(app.m_windowModel.quitting(), &Quitting::decided, &application, &QGuiApplication::quit);
    connect(&application, &QGuiApplication::commitDataRequest, &app, &TessarinApp::endSession);
    if (!app.openWindow()) {
        return 1;
    }
    const int status = QGuiApplication::exec();
    app.close();
    // From here on a signal ends the program at once: nobody hears it, and closing may wait for a disk.
    signalWatch.reset();
    app.finishClosing();
    return status;
}

TessarinApp::TessarinApp(Preferences& preferences, WorkspaceStore& store, MainThread& mainThread)
    : m_preferences(preferences)
    , m_store(store)
    , m_mainThread(mainThread)
    , m_appearance(preferences)
    , m_desktop(m_portal, m_folderPicker, m_filePicker)
    , m_windowModel(m_appearance, m_folderPicker)
{
}

TessarinApp::~TessarinApp() = default;

bool TessarinApp::openWindow()
{
    m_engine.addImportPath(QStringLiteral(":/"));
    m_engine.addImageProvider(QStringLiteral("symbols"), new SymbolProvider);
    m_engine.setInitialProperties({ { QStringLiteral("windowModel"), QVariant::fromValue(&m_windowModel) } });
    m_engine.load(QUrl(QStringLiteral("qrc:/Tessarin/MainWindow.qml")));
    m_window = m_engine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(m_engine.rootObjects().front());
    if (m_window == nullptr) {
        return false;
    }
    connect(m_window, &QQuickWindow::frameSwapped, this, &TessarinApp::finishFirstFrame,
        static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
    placeWindow();
    m_window->setVisible(true); // as it is: show() would take it back to its normal size
    return true;
}

void TessarinApp::finishFirstFrame()
{
    report("first frame");
    // Not earlier: reading a long history on another thread would hold up the frame.
    m_store.beginLoading();
    // In the meantime the types of what will show it are loaded.
    const QQmlComponent content(&m_engine, QUrl(QStringLiteral("qrc:/Tessarin/RootView.qml")));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Tessarin/Icons/tessarin.svg")));
    m_appearance.follow(m_portal);
    m_secrets = makeSystemSecretStore(m_preferences.locations().data + "/secrets");
    m_model = AppModel::make({ m_preferences, m_store, m_mainThread, m_desktop, RuntimeContext::current(m_preferences), { *m_secrets } });
    connect(
        m_window, &QQuickWindow::frameSwapped, this,
        [this] {
            report("first content");
            m_updateFlow->dropLeftOvers();
        },
        static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
    m_turns = m_model->observe([this](const ModelChange& change) {
        if (change.kind == ModelChange::Kind::connectionState && !m_model->connectionState().isBusy()) {
            QMetaObject::invokeMethod(this, &TessarinApp::giveBackMemory, Qt::QueuedConnection);
        }
    });
    openNotifications();
    m_windowModel.provideSettings({ m_preferences, m_desktop, m_filePicker });
    openUpdates();
    m_windowModel.attach(m_model);
    m_window->installEventFilter(&m_windowModel);
    FrameReport::beginIfAsked(*m_window);
}

void TessarinApp::openUpdates()
{
    m_updateFlow = std::make_unique<UpdateFlow>(systemUpdateSurroundings(m_preferences, m_mainThread, m_desktop));
    m_updates = std::make_unique<UpdateController>(m_preferences, systemUpdater(m_preferences, m_mainThread, *m_updateFlow));
    m_windowModel.setUpdates(*m_updates, *m_updateFlow);
}

// Without the window, which is gone already: what runs is asked to end, and what is known is stored.
void TessarinApp::close()
{
    rememberPlace();
    if (m_model) {
        m_model->stopRuntimes();
    }
    m_preferences.flush();
    m_notifications.clear();
}

void TessarinApp::finishClosing()
{
    if (m_model) {
        m_model->finishImagineImports();
    }
    m_preferences.flush();
}

void TessarinApp::placeWindow()
{
    m_windowModel.setSidebarWidth(QString::fromStdString(m_preferences.text(WindowModel::sidebarWidthKey).value_or("")).toInt());
    const auto stored = WindowPlace::parse(m_preferences.text(WindowPlace::key).value_or(""));
    QList<QRect> screens;
    for (const QScreen* screen : QGuiApplication::screens()) {
        screens.append(screen->availableGeometry());
    }
    const auto place = (stored ? *stored : WindowPlace{ QRect(QPoint(), WindowPlace::defaultSize), false }).fittedTo(screens);
    if (!place) {
        m_window->resize(WindowPlace::defaultSize);
        return;
    }
    m_place = WindowPlaceKeeper(*place);
    if (stored) {
        m_window->setGeometry(place->frame);
    } else {
        m_window->resize(place->frame.size()); // where, the desktop knows best
    }
    if (place->isMaximized) {
        m_window->setWindowStates(Qt::WindowMaximized);
    }
    for (const auto signal : { &QWindow::xChanged, &QWindow::yChanged, &QWindow::widthChanged, &QWindow::heightChanged }) {
        connect(m_window, signal, this, &TessarinApp::notePlace);
    }
    connect(m_window, &QWindow::windowStateChanged, this, &TessarinApp::notePlace);
}

void TessarinApp::notePlace()
{
    const Qt::WindowStates states = m_window->windowStates();
    const bool isMaximized = states.testFlag(Qt::WindowMaximized);
    if (states == Qt::WindowNoState || isMaximized) {
        m_place.note(m_window->geometry(), isMaximized);
    }
}

void TessarinApp::rememberPlace()
{
    m_preferences.setText(WindowPlace::key, m_place.place().text());
    m_preferences.setText(WindowModel::sidebarWidthKey, std::to_string(m_windowModel.sidebarWidth()));
}

void TessarinApp::raise()
{
    if (m_window != nullptr) {
        m_window->setWindowStates(m_window->windowStates() & ~Qt::WindowMinimized);
        m_window->setVisible(true);
        m_window->raise();
        m_window->requestActivate();
    }
}

// Some desktops let no window come to the front by itself, but one that has a token from where the person has clicked.
void TessarinApp::raiseWith(const QString& token)
{
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8()); // where Qt reads it, and takes it away
    }
    raise();
}

void TessarinApp::openNotifications()
{
    Notifier* notifier = m_windowModel.notifier();
    notifier->open(m_preferences, m_notifications, [] { return QGuiApplication::focusWindow() != nullptr; });
    connect(notifier, &Notifier::called, this, &TessarinApp::raiseWith);
    // Between two windows of ours it is nowhere for a moment.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, notifier, &Notifier::noteFocus, Qt::QueuedConnection);
    // A window beside this one comes forward by itself where the question stands there; this one must not come over it.
    connect(m_windowModel.quitting(), &Quitting::asking, this, [this] {
        if (m_window->windowStates().testFlag(Qt::WindowMinimized) || !hasWindowBeside(*m_window)) {
            raise();
        }
    });
}

// The session manager wants its answer within this call, and a person takes longer than that. So the end of the session is called off
// where they may be asked, and comes again when they have answered; where they may not, and where they are being asked already, nothing
// holds it up.
void TessarinApp::endSession(QSessionManager& session)
{
    Quitting* quitting = m_windowModel.quitting();
    if (quitting->hasToAsk() && session.allowsInteraction()) {
        session.cancel();
        quitting->holdSession();
    } else {
        quitting->yieldToSession();
    }
}

// A long answer has made and dropped very much of what shows it, and nothing else comes that would have it collected.
void TessarinApp::giveBackMemory()
{
    m_engine.collectGarbage();
    giveBackFreedMemory();
}

// For the measurement of the start: a line as soon as it has happened.
void TessarinApp::report(const char* what) const
{
    if (qEnvironmentVariableIsSet("TESSARIN_REPORT_FIRST_FRAME")) {
        std::puts(what);
        std::fflush(stdout);
    }
}

} // namespace tessarin
