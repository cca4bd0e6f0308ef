#include "App/AppModel.h"

#include "Platform/Files.h"

#include <algorithm>

namespace tessarin
{

namespace
{

std::optional<Uuid> firstThreadID(const Workspace* workspace)
{
    return workspace && !workspace->threads.empty() ? std::optional(workspace->threads.front().id) : std::nullopt;
}

} // namespace

void AppModel::chooseProject()
{
    m_surroundings.desktop.chooseFolder(
        { "Choose a project", "Open Project" }, [weak = weak_from_this()](const std::optional<std::string>& path) {
            if (const auto model = weak.lock(); model && path) {
                model->addWorkspace(*path);
            }
        });
}

void AppModel::addWorkspace(const std::string& path)
{
    const std::string standardized = standardizedPath(path);
    const auto known
        = std::find_if(m_workspaces.begin(), m_workspaces.end(), [&](const Workspace& each) { return each.path == standardized; });
    if (known != m_workspaces.end()) {
        selectWorkspace(known->id);
        return;
    }
    m_workspaces.push_back(Workspace::make(standardized));
    select(m_workspaces.back().id, firstThreadID(&m_workspaces.back()), TreeShape::changed);
    resetConnection();
    persist();
}

void AppModel::selectWorkspace(Uuid id)
{
    // A project without a selected task gets one when it is selected again.
    if (m_selectedWorkspaceID == id && m_selectedThreadID) {
        return;
    }
    select(id, firstThreadID(workspaceWithID(id)), TreeShape::kept);
    resetConnection();
}

void AppModel::selectThread(Uuid id, Uuid workspaceID)
{
    if (m_selectedThreadID == id && m_selectedWorkspaceID == workspaceID) {
        return;
    }
    select(workspaceID, id, TreeShape::kept);
    resetConnection();
}

void AppModel::newThread(std::optional<Uuid> workspaceID)
{
    const std::optional<Uuid> target = workspaceID ? workspaceID : m_selectedWorkspaceID;
    Workspace* workspace = target ? workspaceWithID(*target) : nullptr;
    if (!workspace) {
        chooseProject();
        return;
    }
    const auto thread = workspace->threads.insert(workspace->threads.begin(), ChatThread::make());
    select(target, thread->id, TreeShape::changed);
    resetConnection();
    persist();
}

void AppModel::deleteThread(Uuid id, Uuid workspaceID)
{
    Workspace* workspace = workspaceWithID(workspaceID);
    if (!workspace) {
        return;
    }
    bool isChanged = std::erase_if(workspace->threads, [id](const ChatThread& thread) { return thread.id == id; }) > 0;
    if (workspace->threads.empty()) {
        workspace->threads.push_back(ChatThread::make());
        isChanged = true;
    }
    if (m_selectedThreadID == id) {
        select(workspaceID, firstThreadID(workspace), TreeShape::changed);
        resetConnection();
    } else if (isChanged) {
        select(m_selectedWorkspaceID, m_selectedThreadID, TreeShape::changed);
    }
    persist();
}

void AppModel::removeWorkspace(Uuid id)
{
    const auto removed = std::erase_if(m_workspaces, [id](const Workspace& workspace) { return workspace.id == id; });
    if (m_selectedWorkspaceID == id) {
        const Workspace* first = m_workspaces.empty() ? nullptr : &m_workspaces.front();
        select(first ? std::optional(first->id) : std::nullopt, firstThreadID(first), TreeShape::changed);
        resetConnection();
    } else if (removed > 0) {
        select(m_selectedWorkspaceID, m_selectedThreadID, TreeShape::changed);
    }
    persist();
}

void AppModel::revealProject()
{
    if (const Workspace* workspace = selectedWorkspace()) {
        m_surroundings.desktop.reveal(workspace->path);
    }
}

void AppModel::select(std::optional<Uuid> workspaceID, std::optional<Uuid> threadID, TreeShape shape)
{
    const bool isOther = m_selectedWorkspaceID != workspaceID || m_selectedThreadID != threadID;
    m_selectedWorkspaceID = workspaceID;
    m_selectedThreadID = threadID;
    m_workspaceRow = 0;
    m_threadRow = 0;
    m_entryIndex.forget();
    // Both are in place before either is told: no observer sees a selection that the tree has lost.
    if (shape == TreeShape::changed) {
        changed(ModelChange::Kind::workspaces);
    }
    if (isOther) {
        changed(ModelChange::Kind::selection);
    }
}

void AppModel::resetConnection()
{
    dropClient();
    setActiveProvider(std::nullopt);
    setConnectionState(ConnectionState::Kind::idle);
    setPlan({});
    clearPermissionRequest();
    setErrorMessage(std::nullopt);
    m_isReplaying = false;
    m_replayBackup.reset(); // the backup of an interrupted replay is dropped, not restored
}

void AppModel::persist()
{
    m_surroundings.store.save(m_workspaces, m_treeChanges);
}

Workspace* AppModel::workspaceWithID(const Uuid& id)
{
    const auto found = std::find_if(m_workspaces.begin(), m_workspaces.end(), [&](const Workspace& each) { return each.id == id; });
    return found == m_workspaces.end() ? nullptr : &*found;
}

} // namespace tessarin
