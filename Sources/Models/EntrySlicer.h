#pragma once

#include "Models/EncodedTask.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tessarin
{

// Finds, while a stored tree is parsed, where the entries of each task stand in its text, so that these bytes can be written again
// without encoding them. The parser does not tell positions, but a key that it hands on uncopied does: the first key of an entry stands
// behind `{"`, the one after the entries behind `],"`. A text that is laid out in another way than ours is left alone.
class EntrySlicer
{
public:
    explicit EntrySlicer(std::shared_ptr<const std::string> text) : m_text(std::move(text)) { }

    // What the parser comes to, in the order of the text.
    void beginTask(std::size_t project, std::size_t task);
    void beginEntry(std::size_t index) { await(Awaited::firstKeyOfEntry, index); }
    void endEntries(std::size_t count) { await(Awaited::keyAfterEntries, count); }
    void endTask() { m_awaited = Awaited::nothing; }
    // `key` is the text that the parser handed on, or empty when it had to make one.
    void takeKey(std::string_view key)
    {
        if (m_awaited != Awaited::nothing) {
            takeAwaitedKey(key);
        }
    }

    // The entries' bytes, for as many entries as could be found from the first one on. Each task can be asked for once.
    [[nodiscard]] std::vector<EncodedTask::Segment> takeSegments(std::size_t project, std::size_t task);

private:
    enum class Awaited { nothing, firstKeyOfEntry, keyAfterEntries };
    struct Task {
        std::vector<EncodedTask::Segment> segments;
        std::size_t start = 0; // in the text, of what is in no segment yet
        bool isSliceable = true;
    };

    void await(Awaited awaited, std::size_t entry)
    {
        m_awaited = awaited;
        m_entry = entry;
    }
    void takeAwaitedKey(std::string_view key);
    void cut(Task& task, std::size_t end, std::size_t entryEnd);
    [[nodiscard]] bool standsBefore(std::size_t position, std::string_view expected) const;

    std::shared_ptr<const std::string> m_text;
    std::vector<std::vector<Task>> m_tasks; // by project
    std::size_t m_project = 0;
    std::size_t m_task = 0;
    std::size_t m_entry = 0;
    Awaited m_awaited = Awaited::nothing;
};

} // namespace tessarin
