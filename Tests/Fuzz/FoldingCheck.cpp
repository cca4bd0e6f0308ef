#include "FoldingCheck.h"

#include "FuzzTarget.h"

#include <algorithm>

namespace tessarin
{

namespace
{

using Kind = ModelChange::Kind;

bool startsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

// The row that a linear scan finds, against which the index is held.
std::size_t firstRow(const std::vector<ChatEntry>& entries, const std::string& id)
{
    const auto found = std::find_if(entries.begin(), entries.end(), [&id](const ChatEntry& entry) { return entry.id == id; });
    return static_cast<std::size_t>(found - entries.begin());
}

} // namespace

void FoldingCheck::fold(const SessionUpdate& update)
{
    const ChatThread before = m_thread;
    const std::vector<PlanEntry> planBefore = m_plan;
    m_clock += 1;
    const auto change = SessionUpdateReducer::fold(
        update, { &m_thread, m_index, m_plan }, { m_isReplaying, m_fallbackIDs, AgentProvider::kimi, Instant{ m_clock } });
    if (!change) {
        requireUnchanged(before, planBefore);
    } else if (change->kind == Kind::plan) {
        fuzzRequire(m_thread == before, "a plan leaves the task alone");
        requirePlanOf(update);
    } else {
        fuzzRequire(m_plan == planBefore, "an entry leaves the plan alone");
        requireEntryOf(update, *change, before);
    }
}

void FoldingCheck::requireUnchanged(const ChatThread& before, const std::vector<PlanEntry>& planBefore) const
{
    fuzzRequire(m_thread == before && m_plan == planBefore, "an update that is dropped changes nothing");
}

void FoldingCheck::requirePlanOf(const SessionUpdate& update) const
{
    const JsonArray* items = arrayAt(update, "entries");
    const bool isListOfMaps = items && std::all_of(items->begin(), items->end(), [](const Json& item) { return item.is_object(); });
    fuzzRequire(m_plan.size() == (isListOfMaps ? items->size() : 0), "a plan has as many items as its list of maps");
    for (std::size_t row = 0; row < m_plan.size(); ++row) {
        const auto id = textAt((*items)[row].get_object(), "id");
        fuzzRequire(m_plan[row].id == (id ? std::string(*id) : "plan-" + std::to_string(row)), "a plan item has its id or its number");
    }
}

void FoldingCheck::requireEntryOf(const SessionUpdate& update, const ModelChange& change, const ChatThread& before) const
{
    fuzzRequire(textAt(update, "sessionUpdate").has_value(), "an update without a kind changes nothing");
    fuzzRequire(change.index < m_thread.entries.size(), "the row that was told exists");
    fuzzRequire(m_thread.updatedAt == Instant{ m_clock }, "the task was updated now");
    const ChatEntry& entry = m_thread.entries[change.index];
    fuzzRequire(firstRow(m_thread.entries, entry.id) == change.index, "an id belongs to the first entry that bears it");
    fuzzRequire(entry.kind == ChatEntryKind::tool || !entry.text.empty(), "a message has a text");
    fuzzRequire(change.kind != Kind::entryAppended || m_isReplaying || entry.kind != ChatEntryKind::user,
        "a message of the user comes by a replay alone");

    if (change.kind == Kind::entryAppended) {
        fuzzRequire(
            m_thread.entries.size() == before.entries.size() + 1 && change.index == before.entries.size(), "one entry was appended");
        fuzzRequire(
            entry.createdAt == Instant{ m_clock } && entry.provider == AgentProvider::kimi, "a new entry is of now and of the provider");
    } else {
        fuzzRequire(m_thread.entries.size() == before.entries.size(), "an entry was changed in its place");
        const ChatEntry& earlier = before.entries[change.index];
        fuzzRequire(entry.id == earlier.id && entry.kind == earlier.kind && entry.createdAt == earlier.createdAt
                && entry.provider == earlier.provider,
            "an entry stays the one that it was");
        if (change.kind == Kind::entryTextAppended) {
            fuzzRequire(entry.text.size() > earlier.text.size() && startsWith(entry.text, earlier.text), "a text grows at its end");
        } else {
            fuzzRequire(change.kind == Kind::entryChanged && entry.title && entry.status, "a tool has a title and a status");
        }
    }
    for (std::size_t row = 0; row < before.entries.size(); ++row) {
        fuzzRequire(row == change.index || m_thread.entries[row] == before.entries[row], "no other entry was touched");
    }
}

} // namespace tessarin
