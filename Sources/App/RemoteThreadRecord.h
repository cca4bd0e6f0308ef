#pragma once

#include "Models/ChatThread.h"
#include "Remote/RemoteSnapshot.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>

namespace tessarin
{

// One task as devices see it, kept from snapshot to snapshot: runs of entries that have not changed are the same ones again.
class RemoteThreadRecord
{
public:
    void noteRow(std::size_t row);
    void noteAllRows() { m_isReset = true; }

    // Requires: rows that changed since the last call were noted; what was appended and the task's own fields need no note.
    [[nodiscard]] const Shared<RemoteThread>& update(const ChatThread& thread);

    std::uint64_t lastRound = 0; // of its owner, the last one in which the task was there

    // Runs are about this long at most: short enough that making one anew is nothing, long enough that a long task has few of them.
    // An entry with a longer text is a run of its own.
    static constexpr std::size_t runEntryCount = 64;
    static constexpr std::size_t runByteCount = 65536;

private:
    [[nodiscard]] bool isUpToDate(const ChatThread& thread) const;
    [[nodiscard]] std::vector<RemoteThread::Run> updatedRuns(const std::vector<ChatEntry>& entries) const;

    std::optional<Shared<RemoteThread>> m_thread;
    std::size_t m_entryCount = 0; // in m_thread
    std::set<std::size_t> m_changedRows; // since then
    bool m_isReset = false;
};

} // namespace tessarin
