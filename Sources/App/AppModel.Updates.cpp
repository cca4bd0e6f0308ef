#include "App/AppModel.h"

#include "App/ThreadTitle.h"

namespace tessarin
{

void AppModel::handle(const SessionUpdate& update)
{
    ChatThread* thread = activeThread();
    const auto change = SessionUpdateReducer::fold(
        update, { thread, m_entryIndex, m_plan }, { m_isReplaying, m_fallbackMessageIDs, m_activeProvider, m_surroundings.now() });
    if (!change) {
        return;
    }
    if (change->kind != ModelChange::Kind::plan) {
        m_treeChanges.noteEntries(thread->id, change->index);
    }
    m_signal.fire(*change);
}

void AppModel::updateThreadTitleIfNeeded(std::string_view prompt)
{
    updateActiveThread([&](ChatThread& thread) {
        if (thread.title == ChatThread::defaultTitle) {
            thread.title = threadTitle(prompt);
            m_treeChanges.noteFields(thread.id);
            changed(ModelChange::Kind::workspaces);
        }
    });
    persist();
}

void AppModel::appendEntry(ChatEntry entry)
{
    entry.createdAt = m_surroundings.now();
    updateActiveThread([&](ChatThread& thread) {
        thread.entries.push_back(std::move(entry));
        thread.updatedAt = m_surroundings.now();
        const std::size_t row = thread.entries.size() - 1;
        m_treeChanges.noteEntries(thread.id, row);
        changed(ModelChange::Kind::entryAppended, row);
    });
}

void AppModel::setEntries(std::vector<ChatEntry> entries)
{
    updateActiveThread([&](ChatThread& thread) {
        if (thread.entries == entries) {
            return;
        }
        thread.entries = std::move(entries);
        m_entryIndex.forget();
        m_treeChanges.noteEntries(thread.id, 0);
        changed(ModelChange::Kind::entriesReset);
    });
}

ChatThread* AppModel::activeThread()
{
    // selectedThread leaves both rows where it has found the task.
    return selectedThread() ? &m_workspaces[m_workspaceRow].threads[m_threadRow] : nullptr;
}

} // namespace tessarin
