#include "App/RemoteThreadRecord.h"

#include <utility>

namespace tessarin
{

namespace
{

using Run = RemoteThread::Run;

RemoteChatEntry remoteEntry(const ChatEntry& entry)
{
    RemoteChatEntry result;
    result.id = entry.id;
    result.kind = rawText(entry.kind);
    result.text = entry.text;
    result.title = entry.title;
    result.status = entry.status;
    if (entry.provider) {
        result.provider = rawText(*entry.provider);
    }
    result.createdAt = entry.createdAt.secondsSince1970();
    return result;
}

template <class Entry>
std::size_t byteCount(const Entry& entry)
{
    return entry.id.size() + entry.text.size() + (entry.title ? entry.title->size() : 0);
}

bool hasRoom(const std::vector<RemoteChatEntry>& run)
{
    std::size_t bytes = 0;
    for (const RemoteChatEntry& entry : run) {
        bytes += byteCount(entry);
    }
    return run.size() < RemoteThreadRecord::runEntryCount && bytes < RemoteThreadRecord::runByteCount;
}

void appendRuns(std::vector<Run>& runs, const std::vector<ChatEntry>& entries, std::size_t begin, std::size_t end)
{
    std::vector<RemoteChatEntry> run;
    std::size_t bytes = 0;
    for (std::size_t row = begin; row < end; ++row) {
        const std::size_t next = byteCount(entries[row]);
        const bool isFull = run.size() >= RemoteThreadRecord::runEntryCount || bytes + next > RemoteThreadRecord::runByteCount;
        if (isFull && !run.empty()) {
            runs.emplace_back(std::exchange(run, {}));
            bytes = 0;
        }
        run.push_back(remoteEntry(entries[row]));
        bytes += next;
    }
    if (!run.empty()) {
        runs.emplace_back(std::move(run));
    }
}

} // namespace

void RemoteThreadRecord::noteRow(std::size_t row)
{
    // A stream goes to the last row again and again.
    if (m_changedRows.empty() || *m_changedRows.rbegin() != row) {
        m_changedRows.insert(row);
    }
}

const Shared<RemoteThread>& RemoteThreadRecord::update(const ChatThread& thread)
{
    if (isUpToDate(thread)) {
        return *m_thread;
    }
    RemoteThread next;
    next.id = thread.id.text();
    next.title = thread.title;
    next.sessionID = thread.sessionId;
    next.createdAt = thread.createdAt.secondsSince1970();
    next.updatedAt = thread.updatedAt.secondsSince1970();
    next.entries = updatedRuns(thread.entries);
    m_thread.emplace(std::move(next));
    m_entryCount = thread.entries.size();
    m_changedRows.clear();
    m_isReset = false;
    return *m_thread;
}

bool RemoteThreadRecord::isUpToDate(const ChatThread& thread) const
{
    if (!m_thread || m_isReset || !m_changedRows.empty() || m_entryCount != thread.entries.size()) {
        return false;
    }
    const RemoteThread& known = **m_thread;
    return known.title == thread.title && known.sessionID == thread.sessionId && known.createdAt == thread.createdAt.secondsSince1970()
        && known.updatedAt == thread.updatedAt.secondsSince1970();
}

std::vector<Run> RemoteThreadRecord::updatedRuns(const std::vector<ChatEntry>& entries) const
{
    std::vector<Run> runs;
    std::size_t begin = 0;
    if (m_thread && !m_isReset && m_entryCount <= entries.size()) {
        const std::vector<Run>& before = (*m_thread)->entries;
        runs.reserve(before.size() + 1);
        auto change = m_changedRows.begin();
        for (const Run& run : before) {
            const std::size_t end = begin + run->size();
            if (end == m_entryCount && entries.size() > end && hasRoom(*run)) {
                break; // it goes on with what was appended
            }
            if (change != m_changedRows.end() && *change < end) {
                appendRuns(runs, entries, begin, end);
                change = m_changedRows.lower_bound(end);
            } else {
                runs.push_back(run);
            }
            begin = end;
        }
    }
    appendRuns(runs, entries, begin, entries.size());
    return runs;
}

} // namespace tessarin
