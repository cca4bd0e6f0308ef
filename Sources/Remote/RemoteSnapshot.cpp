#include "Remote/RemoteSnapshot.h"

#include <cstddef>

namespace tessarin
{

namespace
{

// The entries of all runs one after another.
class EntryWalk
{
public:
    explicit EntryWalk(const std::vector<RemoteThread::Run>& runs) : m_runs(runs) { passEmptyRuns(); }

    [[nodiscard]] bool isAtEnd() const { return m_run == m_runs.size(); }
    [[nodiscard]] const RemoteChatEntry& entry() const { return (*m_runs[m_run])[m_row]; }
    void next()
    {
        if (++m_row == m_runs[m_run]->size()) {
            nextRun();
        }
    }
    // Both stand at the start of one and the same run, which is passed over.
    static bool skipShared(EntryWalk& one, EntryWalk& other)
    {
        const bool isShared
            = one.m_row == 0 && other.m_row == 0 && one.m_runs[one.m_run].identity() == other.m_runs[other.m_run].identity();
        if (isShared) {
            one.nextRun();
            other.nextRun();
        }
        return isShared;
    }

private:
    void nextRun()
    {
        ++m_run;
        m_row = 0;
        passEmptyRuns();
    }
    void passEmptyRuns()
    {
        while (!isAtEnd() && m_runs[m_run]->empty()) {
            ++m_run;
        }
    }

    const std::vector<RemoteThread::Run>& m_runs;
    std::size_t m_run = 0;
    std::size_t m_row = 0;
};

bool haveSameEntries(const RemoteThread& one, const RemoteThread& other)
{
    EntryWalk mine(one.entries);
    EntryWalk theirs(other.entries);
    while (!mine.isAtEnd() && !theirs.isAtEnd()) {
        if (EntryWalk::skipShared(mine, theirs)) {
            continue;
        }
        if (mine.entry() != theirs.entry()) {
            return false;
        }
        mine.next();
        theirs.next();
    }
    return mine.isAtEnd() && theirs.isAtEnd();
}

} // namespace

bool RemoteThread::operator==(const RemoteThread& other) const
{
    return id == other.id && title == other.title && sessionID == other.sessionID && createdAt == other.createdAt
        && updatedAt == other.updatedAt && haveSameEntries(*this, other);
}

} // namespace tessarin
