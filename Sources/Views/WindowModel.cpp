#include "Views/WindowModel.h"

#include "App/AppModel.h"
#include "Views/ModelChanges.h"

#include <QEvent>
#include <QFontDatabase>

#include <cassert>

namespace tessarin
{

WindowModel::WindowModel(Appearance& appearance, FolderPicker& folderPicker, InstantSource now)
    : m_appearance(appearance), m_folderPicker(folderPicker), m_threads(now), m_imagine(std::move(now))
{
    constexpr int frameMilliseconds = 16;
    m_threadsTimer.setSingleShot(true);
    m_threadsTimer.setInterval(frameMilliseconds);
    connect(&m_threadsTimer, &QTimer::timeout, this, &WindowModel::readSelectedThread);
    connect(&m_news, &NewsGatherer::told, &m_announcer, &Announcer::tell);
    connect(&m_news, &NewsGatherer::told, &m_notifier, &Notifier::tell);
}

WindowModel::~WindowModel() = default;

void WindowModel::provideSettings(const SettingsModel::World& world)
{
    m_settingsWorld.emplace(world);
}

SettingsModel* WindowModel::settings()
{
    assert(m_model && m_settingsWorld);
    if (!m_settings) {
        m_settings = std::make_unique<SettingsModel>(m_model, *m_settingsWorld);
    }
    return m_settings.get();
}

void WindowModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    m_subscription = m_model->observe([this](const ModelChange& change) { note(change); });
    m_conversation.attach(m_model);
    m_news.attach(m_model);
    m_notifier.attach(m_model);
    m_quitting.attach(m_model);
    m_imagine.attach(m_model);
    m_permission.attach(m_model);
    m_install.attach(m_model);
    m_remote.attach(m_model);
    readThreads();
    readError();
    emit sectionChanged();
    emit readyChanged();
}

void WindowModel::setUpdates(UpdateController& updates, UpdateFlow& flow)
{
    m_updates = &updates;
    m_updateFlow = &flow;
    emit updatesChanged();
}

void WindowModel::note(const ModelChange& change)
{
    m_conversation.note(change);
    m_news.note(change);
    m_notifier.note(change);
    m_quitting.note(change);
    m_imagine.note(change);
    m_permission.note(change);
    m_install.note(change);
    m_remote.note(change);
    if (m_settings) {
        m_settings->note(change);
    }
    using Kind = ModelChange::Kind;
    if (isOneOf(change.kind, { Kind::workspaces, Kind::selection })) {
        readThreads();
    } else if (isOneOf(change.kind, { Kind::entryAppended, Kind::entryTextAppended, Kind::entryChanged, Kind::entriesReset })) {
        // An entry makes the task newer.
        if (!m_threadsTimer.isActive()) {
            m_threadsTimer.start();
        }
    } else if (change.kind == Kind::errorMessage) {
        readError();
    } else if (change.kind == Kind::section) {
        emit sectionChanged();
    }
}

void WindowModel::readThreads()
{
    m_threads.setWorkspaces(m_model->workspaces());
    m_threads.setSelection(m_model->selectedWorkspaceID(), m_model->selectedThreadID());
}

void WindowModel::readSelectedThread()
{
    if (const ChatThread* thread = m_model->selectedThread()) {
        m_threads.setThread(*m_model->selectedWorkspaceID(), *thread);
    }
}

// The text stays while the banner leaves, so that it does not shrink on its way out.
void WindowModel::readError()
{
    const std::optional<std::string>& message = m_model->errorMessage();
    m_hasError = message.has_value();
    if (message) {
        m_errorMessage = QString::fromStdString(*message);
    }
    emit errorChanged();
}

bool WindowModel::showsImagine() const
{
    return m_model && m_model->selectedSection() == AppSection::imagine;
}

void WindowModel::showCode()
{
    m_model->setSelectedSection(AppSection::build);
}

void WindowModel::showImagine()
{
    m_model->setSelectedSection(AppSection::imagine);
}

void WindowModel::newTask()
{
    if (m_model) {
        showCode();
        m_model->newThread();
    }
}

void WindowModel::newTaskIn(const QString& workspaceID)
{
    if (const auto id = Uuid::parse(workspaceID.toStdString())) {
        m_model->newThread(*id);
    }
}

void WindowModel::openProject()
{
    if (m_model) {
        m_model->chooseProject();
    }
}

void WindowModel::openFolders(const QStringList& paths)
{
    if (!m_model || paths.isEmpty()) {
        return;
    }
    m_model->setSelectedSection(AppSection::build);
    for (const QString& path : paths) {
        m_model->addWorkspace(path.toStdString());
    }
    if (paths.size() > 1) {
        m_model->addWorkspace(paths.front().toStdString());
    }
}

void WindowModel::selectTask(const QString& workspaceID, const QString& threadID)
{
    const auto workspace = Uuid::parse(workspaceID.toStdString());
    const auto thread = Uuid::parse(threadID.toStdString());
    if (workspace && thread) {
        m_model->selectThread(*thread, *workspace);
    }
}

void WindowModel::selectPreviousTask()
{
    selectTaskBeside(-1);
}

void WindowModel::selectNextTask()
{
    selectTaskBeside(1);
}

void WindowModel::selectTaskBeside(int rows)
{
    if (const auto task = m_threads.taskBeside(rows)) {
        showCode();
        m_model->selectThread(task->threadID, task->workspaceID);
    }
}

void WindowModel::deleteTask(const QString& workspaceID, const QString& threadID)
{
    const auto workspace = Uuid::parse(workspaceID.toStdString());
    const auto thread = Uuid::parse(threadID.toStdString());
    if (workspace && thread) {
        m_model->deleteThread(*thread, *workspace);
    }
}

void WindowModel::removeProject(const QString& workspaceID)
{
    if (const auto id = Uuid::parse(workspaceID.toStdString())) {
        m_model->removeWorkspace(*id);
    }
}

void WindowModel::dismissError()
{
    m_model->clearError();
}

void WindowModel::setSidebarWidth(int width)
{
    if (width != m_sidebarWidth) {
        m_sidebarWidth = width;
        emit sidebarWidthChanged();
    }
}

QString WindowModel::fixedFamily() const
{
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

bool WindowModel::eventFilter(QObject* window, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::KeyPress:
    case QEvent::Enter:
    case QEvent::FocusIn:
    case QEvent::Expose:
        m_threads.refreshTimes();
        m_imagine.refreshTimes();
        break;
    default:
        break;
    }
    return QObject::eventFilter(window, event);
}

} // namespace tessarin
