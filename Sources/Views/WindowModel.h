#pragma once

#include "App/ModelChange.h"
#include "Views/Announcer.h"
#include "Views/Appearance.h"
#include "Views/ConversationModel.h"
#include "Views/FolderPicker.h"
#include "Views/ImagineModel.h"
#include "Views/InstallModel.h"
#include "Views/News.h"
#include "Views/Notifier.h"
#include "Views/PermissionModel.h"
#include "Views/Quitting.h"
#include "Views/RemoteSettingsModel.h"
#include "Views/SettingsModel.h"
#include "Views/ThreadListModel.h"

#include <QObject>
#include <QTimer>
#include <qqmlintegration.h>

#include <memory>
#include <optional>

namespace tessarin
{

class AppModel;
class UpdateController;
class UpdateFlow;

// What the window shows around the conversation, and its commands. It comes up before the stored tasks are read; `isReady` says that the
// model is there. Main thread only.
class WindowModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The program makes its window model")
    Q_PROPERTY(bool isReady READ isReady NOTIFY readyChanged)
    Q_PROPERTY(bool showsImagine READ showsImagine NOTIFY sectionChanged) // the other section of the window is Code
    Q_PROPERTY(int sidebarWidth MEMBER m_sidebarWidth NOTIFY sidebarWidthChanged) // 0 until a person has chosen one
    Q_PROPERTY(QString errorMessage MEMBER m_errorMessage NOTIFY errorChanged)
    Q_PROPERTY(bool hasError MEMBER m_hasError NOTIFY errorChanged)
    Q_PROPERTY(QString fixedFamily READ fixedFamily CONSTANT)
    Q_PROPERTY(tessarin::ThreadListModel* threads READ threads CONSTANT)
    Q_PROPERTY(tessarin::ConversationModel* conversation READ conversation CONSTANT)
    Q_PROPERTY(tessarin::Announcer* announcer READ announcer CONSTANT)
    Q_PROPERTY(tessarin::ImagineModel* imagine READ imagine CONSTANT)
    Q_PROPERTY(tessarin::PermissionModel* permission READ permission CONSTANT)
    Q_PROPERTY(tessarin::InstallModel* install READ install CONSTANT)
    Q_PROPERTY(tessarin::RemoteSettingsModel* remote READ remote CONSTANT)
    Q_PROPERTY(tessarin::SettingsModel* settings READ settings CONSTANT) // first asked for when the settings are opened
    Q_PROPERTY(tessarin::FolderPicker* folderPicker READ folderPicker CONSTANT)
    Q_PROPERTY(tessarin::Notifier* notifier READ notifier CONSTANT)
    Q_PROPERTY(tessarin::Quitting* quitting READ quitting CONSTANT)
    // Null in a window without updates; there from `isReady` on.
    Q_PROPERTY(tessarin::UpdateController* updates READ updates NOTIFY updatesChanged)
    Q_PROPERTY(tessarin::UpdateFlow* updateFlow READ updateFlow NOTIFY updatesChanged)
    Q_MOC_INCLUDE("Views/UpdateController.h")
    Q_MOC_INCLUDE("Views/UpdateFlow.h")
    Q_PROPERTY(tessarin::Appearance* appearance READ appearance CONSTANT)
public:
    static constexpr const char* sidebarWidthKey = "sidebarWidth.v1"; // where it is kept between two runs

    WindowModel(Appearance& appearance, FolderPicker& folderPicker, InstantSource now = &Instant::now);
    ~WindowModel() override;

    // What the settings will need; called once, before the model is there.
    void provideSettings(const SettingsModel::World& world);
    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    // They outlive what is shown of them.
    void setUpdates(UpdateController& updates, UpdateFlow& flow);

    Q_INVOKABLE void showCode();
    Q_INVOKABLE void showImagine();
    // Shows Code. In the selected project; without one the person chooses a project.
    Q_INVOKABLE void newTask();
    Q_INVOKABLE void newTaskIn(const QString& workspaceID);
    Q_INVOKABLE void openProject();
    // Each of these folders becomes a project; the first one is shown.
    Q_INVOKABLE void openFolders(const QStringList& paths);
    Q_INVOKABLE void selectTask(const QString& workspaceID, const QString& threadID);
    // The task above or below in the sidebar, in Code. At either end nothing happens.
    Q_INVOKABLE void selectPreviousTask();
    Q_INVOKABLE void selectNextTask();
    Q_INVOKABLE void deleteTask(const QString& workspaceID, const QString& threadID);
    Q_INVOKABLE void removeProject(const QString& workspaceID);
    Q_INVOKABLE void dismissError();

    // For what shows only now and then a part of it. Null before the model is there.
    [[nodiscard]] const std::shared_ptr<AppModel>& model() const { return m_model; }
    [[nodiscard]] bool isReady() const { return m_model != nullptr; }
    [[nodiscard]] bool showsImagine() const;
    [[nodiscard]] int sidebarWidth() const { return m_sidebarWidth; }
    void setSidebarWidth(int width);
    [[nodiscard]] QString fixedFamily() const;
    [[nodiscard]] ThreadListModel* threads() { return &m_threads; }
    [[nodiscard]] ConversationModel* conversation() { return &m_conversation; }
    [[nodiscard]] Announcer* announcer() { return &m_announcer; }
    [[nodiscard]] ImagineModel* imagine() { return &m_imagine; }
    [[nodiscard]] PermissionModel* permission() { return &m_permission; }
    [[nodiscard]] InstallModel* install() { return &m_install; }
    [[nodiscard]] RemoteSettingsModel* remote() { return &m_remote; }
    // Made now, if they have never been asked for. Requires: the model is there.
    [[nodiscard]] SettingsModel* settings();
    [[nodiscard]] FolderPicker* folderPicker() { return &m_folderPicker; }
    [[nodiscard]] Notifier* notifier() { return &m_notifier; }
    [[nodiscard]] Quitting* quitting() { return &m_quitting; }
    [[nodiscard]] UpdateController* updates() { return m_updates; }
    [[nodiscard]] UpdateFlow* updateFlow() { return m_updateFlow; }
    [[nodiscard]] Appearance* appearance() { return &m_appearance; }

    // A person is there: the times that are shown are read again. Nothing runs while nobody looks.
    bool eventFilter(QObject* window, QEvent* event) override;

signals:
    void readyChanged();
    void updatesChanged();
    void sectionChanged();
    void sidebarWidthChanged();
    void errorChanged();

private:
    void note(const ModelChange& change);
    void readThreads();
    void readSelectedThread();
    void readError();
    void selectTaskBeside(int rows);

    Appearance& m_appearance;
    FolderPicker& m_folderPicker;
    std::shared_ptr<AppModel> m_model;
    std::shared_ptr<void> m_subscription; // to the changes of m_model
    ThreadListModel m_threads;
    ConversationModel m_conversation;
    NewsGatherer m_news;
    Announcer m_announcer;
    Notifier m_notifier;
    Quitting m_quitting;
    ImagineModel m_imagine;
    PermissionModel m_permission;
    InstallModel m_install;
    RemoteSettingsModel m_remote;
    std::optional<SettingsModel::World> m_settingsWorld;
    std::unique_ptr<SettingsModel> m_settings; // from when they are first asked for
    UpdateController* m_updates = nullptr;
    UpdateFlow* m_updateFlow = nullptr;
    QTimer m_threadsTimer; // gathers the entries of a burst
    QString m_errorMessage;
    bool m_hasError = false;
    int m_sidebarWidth = 0;
};

} // namespace tessarin
