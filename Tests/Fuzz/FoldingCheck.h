#pragma once

#include "App/SessionUpdateReducer.h"

namespace tessarin
{

// A task and a plan that updates are folded into, with what must be true after each of them whatever the update was.
class FoldingCheck
{
public:
    void setReplaying(bool isReplaying) { m_isReplaying = isReplaying; }
    void fold(const SessionUpdate& update);

private:
    void requireUnchanged(const ChatThread& before, const std::vector<PlanEntry>& planBefore) const;
    void requirePlanOf(const SessionUpdate& update) const;
    void requireEntryOf(const SessionUpdate& update, const ModelChange& change, const ChatThread& before) const;

    bool m_isReplaying = false;
    const FallbackMessageIDs m_fallbackIDs{ "fallback", "thought-fallback" };
    ChatThread m_thread;
    EntryIndex m_index;
    std::vector<PlanEntry> m_plan;
    double m_clock = 0;
};

} // namespace tessarin
