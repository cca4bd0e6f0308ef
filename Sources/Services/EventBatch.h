#pragma once

#include "Services/EventGate.h"
#include "Services/SessionUpdate.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <variant>
#include <vector>

namespace tessarin
{

class AgentClient;

// The events of one piece of work on a client's queue, in order, on their way to the main thread in one post. The JSON that was parsed
// for them lies in one arena, which goes at once with the batch: no value is freed by itself.
class EventBatch
{
public:
    // A call of one of the client's callbacks.
    using Notice = std::function<void(AgentClient& client)>;
    // A call of somebody's completion; always made.
    using Answer = std::function<void()>;

    // `expectedBytes` of JSON text are about to be parsed into the arena.
    EventBatch(std::shared_ptr<EventGate> gate, std::size_t expectedBytes);
    EventBatch(const EventBatch&) = delete;
    EventBatch& operator=(const EventBatch&) = delete;

    // Memory for values that live as long as the batch, to parse a text of so many bytes into.
    [[nodiscard]] boost::json::storage_ptr storageFor(std::size_t bytes);
    // Requires: `update` lies in the batch's storage.
    void add(SessionUpdate&& update);
    void add(Notice notice);
    void add(Answer answer);

    [[nodiscard]] bool isEmpty() const { return m_events.empty(); }
    // How much text the batch stands for.
    [[nodiscard]] std::size_t bytes() const { return m_bytes; }

    // Main thread only, once: makes the calls. Without a client only the answers are given.
    void run(AgentClient* client);

private:
    using Event = std::variant<SessionUpdate, Notice, Answer>;

    const std::shared_ptr<EventGate> m_gate;
    boost::json::monotonic_resource m_arena; // before what lies in it
    std::vector<Event> m_events;
    std::size_t m_bytes = 0;
};

} // namespace tessarin
