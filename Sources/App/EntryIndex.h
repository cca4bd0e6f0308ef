#pragma once

#include "Models/ChatEntry.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessarin
{

// Finds an entry of one list by its id, at a cost that does not grow with the list: chunks arrive by the thousand for the same entry.
// Follows a list that grows at its end by itself; any other change of the list, and another list, need `forget` first.
class EntryIndex
{
public:
    // The row of the first entry with this id, whatever its kind.
    [[nodiscard]] std::optional<std::size_t> find(const std::vector<ChatEntry>& entries, std::string_view id);
    // The next `find` reads its list anew.
    void forget();

private:
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    void followGrowth(const std::vector<ChatEntry>& entries);

    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> m_firstRows;
    std::size_t m_indexedCount = 0; // so many entries from the start are in m_firstRows
    std::size_t m_lastFoundRow = 0; // below m_indexedCount, or 0
};

} // namespace tessarin
