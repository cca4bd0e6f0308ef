#include "Services/EventBatch.h"

#include "Services/AgentClient.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace tessarin
{

namespace
{

// Parsed values take about four times the room of their text. One piece of memory for all of them is the rule; the upper bound is for
// reads that carry the end of a very long line, for which the arena grows on demand.
std::size_t arenaSize(std::size_t expectedBytes)
{
    return std::clamp<std::size_t>(expectedBytes * 4, 1024, 1024 * 1024);
}

} // namespace

EventBatch::EventBatch(std::shared_ptr<EventGate> gate, std::size_t expectedBytes)
    : m_gate(std::move(gate)), m_arena(arenaSize(expectedBytes))
{
}

boost::json::storage_ptr EventBatch::storageFor(std::size_t bytes)
{
    m_bytes += bytes;
    return &m_arena;
}

void EventBatch::add(SessionUpdate&& update)
{
    static_assert(std::is_nothrow_move_constructible_v<Event>, "or a growing list would copy every update");
    m_events.emplace_back(std::move(update));
}

void EventBatch::add(Notice notice)
{
    m_events.emplace_back(std::move(notice));
}

void EventBatch::add(Answer answer)
{
    m_events.emplace_back(std::move(answer));
}

void EventBatch::run(AgentClient* client)
{
    for (Event& event : m_events) {
        if (const auto* answer = std::get_if<Answer>(&event)) {
            (*answer)();
            continue;
        }
        if (!client)
            continue;
        if (const auto* notice = std::get_if<Notice>(&event))
            (*notice)(*client);
        else if (client->onSessionUpdate)
            client->onSessionUpdate(std::get<SessionUpdate>(event));
    }
    m_gate->release(m_bytes);
}

} // namespace tessarin
