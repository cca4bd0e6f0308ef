#pragma once

#include "Platform/SecretStore.h"
#include "Views/Appearance.h"
#include "Views/DesktopNotifications.h"
#include "Views/DesktopPortal.h"
#include "Views/FilePicker.h"
#include "Views/FolderPicker.h"
#include "Views/QtDesktop.h"
#include "Views/QtMainThread.h"
#include "Views/WindowModel.h"
#include "Views/WindowPlace.h"

#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <memory>

class QSessionManager;

namespace tessarin
{

class AppModel;
class MainThread;
class Preferences;
class UpdateController;
class UpdateFlow;
class WorkspaceStore;

// The program: it owns the stores, the one AppModel and the window for the whole run, in the order in which they need each other.
// The window comes up first, while the stored tasks are being read on another thread; the model joins after the first frame.
class TessarinApp : public QObject
{
    Q_OBJECT
public:
    // Runs the program to its end and returns its status. A start that finds another program on the same stores raises that one's window
    // and ends at once with 0.
    [[nodiscard]] static int run(int argc, char** argv);

private:
    TessarinApp(Preferences& preferences, WorkspaceStore& store, MainThread& mainThread);
    ~TessarinApp() override;

    // The steps, in their order.
    [[nodiscard]] bool openWindow();
    void finishFirstFrame();
    void openUpdates();
    void close();
    void finishClosing();

    void placeWindow();
    void notePlace();
    void rememberPlace();
    void raise();
    void raiseWith(const QString& token);
    void openNotifications();
    void endSession(QSessionManager& session);
    void giveBackMemory();
    void report(const char* what) const;

    Preferences& m_preferences;
    WorkspaceStore& m_store;
    MainThread& m_mainThread;
    DesktopPortal m_portal;
    DesktopNotifications m_notifications;
    Appearance m_appearance;
    FolderPicker m_folderPicker;
    FilePicker m_filePicker;
    QtDesktop m_desktop;
    std::unique_ptr<SecretStore> m_secrets; // from the first frame on
    std::shared_ptr<AppModel> m_model;
    std::shared_ptr<void> m_turns; // the subscription to the model
    std::unique_ptr<UpdateFlow> m_updateFlow; // from the first frame on
    std::unique_ptr<UpdateController> m_updates;
    WindowModel m_windowModel;
    QQmlApplicationEngine m_engine;
    QPointer<QQuickWindow> m_window;
    WindowPlaceKeeper m_place{ { QRect(QPoint(), WindowPlace::defaultSize), false } };
};

} // namespace tessarin
