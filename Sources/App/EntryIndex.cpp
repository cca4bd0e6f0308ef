#include "App/EntryIndex.h"

#include <cassert>

namespace tessarin
{

std::optional<std::size_t> EntryIndex::find(const std::vector<ChatEntry>& entries, std::string_view id)
{
    assert(m_indexedCount <= entries.size());
    // A stream goes to the same entry again and again.
    if (m_lastFoundRow < m_indexedCount && entries[m_lastFoundRow].id == id) {
        return m_lastFoundRow;
    }
    followGrowth(entries);
    const auto found = m_firstRows.find(id);
    if (found == m_firstRows.end()) {
        return std::nullopt;
    }
    m_lastFoundRow = found->second;
    return m_lastFoundRow;
}

void EntryIndex::forget()
{
    m_firstRows.clear();
    m_indexedCount = 0;
    m_lastFoundRow = 0;
}

void EntryIndex::followGrowth(const std::vector<ChatEntry>& entries)
{
    for (; m_indexedCount < entries.size(); ++m_indexedCount) {
        m_firstRows.try_emplace(entries[m_indexedCount].id, m_indexedCount); // the first of equal ids stays
    }
}

} // namespace tessarin
