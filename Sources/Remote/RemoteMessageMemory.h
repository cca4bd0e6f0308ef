#pragma once

#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <string_view>

namespace tessarin
{

// The ids of the messages that came lately, so that a message counts once, whoever sends it again. One thread at a time.
class RemoteMessageMemory
{
public:
    // Grows to the one, and is cut back to the other by forgetting the oldest.
    static constexpr std::size_t mostCount = 2048;
    static constexpr std::size_t keptCount = 1024;

    // Remembers the id; false when it was remembered already, which leaves its age as it is. Ids are compared byte for byte.
    [[nodiscard]] bool insert(std::string_view id);
    [[nodiscard]] bool contains(std::string_view id) const;
    [[nodiscard]] std::size_t count() const { return m_recentMessageIDs.size(); }

private:
    std::deque<std::string> m_recentMessageIDs; // oldest first
    std::set<std::string_view> m_recentMessageIDSet; // the same
};

} // namespace tessarin
