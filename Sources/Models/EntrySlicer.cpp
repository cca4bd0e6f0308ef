#include "Models/EntrySlicer.h"

#include <functional>
#include <utility>

namespace tessarin
{

void EntrySlicer::beginTask(std::size_t project, std::size_t task)
{
    if (m_tasks.size() <= project) {
        m_tasks.resize(project + 1);
    }
    // Cut off first: of several lists of tasks under one key the last counts, and it begins again with the first task.
    m_tasks[project].resize(task);
    m_tasks[project].emplace_back();
    m_project = project;
    m_task = task;
    m_awaited = Awaited::nothing;
}

void EntrySlicer::takeAwaitedKey(std::string_view key)
{
    const Awaited awaited = std::exchange(m_awaited, Awaited::nothing);
    Task& task = m_tasks[m_project][m_task];
    if (m_entry == 0) {
        task = {};
    }
    const std::less_equal<const char*> isNotBehind;
    const bool isInText
        = !key.empty() && isNotBehind(m_text->data(), key.data()) && isNotBehind(key.data(), m_text->data() + m_text->size());
    const std::size_t position = isInText ? static_cast<std::size_t>(key.data() - m_text->data()) : 0;
    const std::string_view expected = awaited == Awaited::keyAfterEntries ? "],\"" : m_entry == 0 ? "[{\"" : ",{\"";
    if (!task.isSliceable || !standsBefore(position, expected)) {
        task.isSliceable = false;
        return;
    }
    const std::size_t end = position - expected.size(); // the bracket or comma
    if (m_entry == 0) {
        task.start = end + 1;
    } else if (awaited == Awaited::keyAfterEntries || end - task.start >= EncodedTask::segmentSize) {
        cut(task, end, m_entry);
    }
}

void EntrySlicer::cut(Task& task, std::size_t end, std::size_t entryEnd)
{
    task.segments.push_back({ { m_text, std::string_view(*m_text).substr(task.start, end - task.start) }, entryEnd });
    task.start = end;
}

bool EntrySlicer::standsBefore(std::size_t position, std::string_view expected) const
{
    return position >= expected.size() && std::string_view(*m_text).substr(position - expected.size(), expected.size()) == expected;
}

std::vector<EncodedTask::Segment> EntrySlicer::takeSegments(std::size_t project, std::size_t task)
{
    if (project >= m_tasks.size() || task >= m_tasks[project].size()) {
        return {};
    }
    return std::move(m_tasks[project][task].segments);
}

} // namespace tessarin
