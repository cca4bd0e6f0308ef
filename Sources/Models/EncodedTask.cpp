#include "Models/EncodedTask.h"

#include "Models/RecordText.h"

#include <algorithm>
#include <string>

namespace tessarin
{

bool EncodedTask::update(const ChatThread& thread, std::size_t firstChanged)
{
    std::string scratch;
    openTask(scratch, thread);
    m_opening = ByteRope::makePiece(scratch);
    scratch.clear();
    if (!closeTask(scratch, thread)) {
        return false;
    }
    m_closing = ByteRope::makePiece(scratch);
    dropSegments(thread, firstChanged);
    return appendSegments(thread);
}

void EncodedTask::takeFrom(
    const std::shared_ptr<const std::string>& before, const std::shared_ptr<const std::string>& owner, std::string_view bytes)
{
    for (Segment& segment : m_segments) {
        if (segment.bytes.owner == before) {
            const auto begin = static_cast<std::size_t>(segment.bytes.bytes.data() - before->data());
            segment.bytes = { owner, bytes.substr(begin, segment.bytes.bytes.size()) };
        }
    }
}

void EncodedTask::appendTo(ByteRope& rope) const
{
    rope.append(m_opening);
    for (const Segment& segment : m_segments) {
        rope.append(segment.bytes);
    }
    rope.append(m_closing);
}

// Leaves the segments that are still true; when entries follow, without a last one that has room for more.
void EncodedTask::dropSegments(const ChatThread& thread, std::size_t firstChanged)
{
    const std::size_t unchanged = std::min(firstChanged, thread.entries.size());
    while (entryCount() > unchanged) {
        m_segments.pop_back();
    }
    if (!m_segments.empty() && entryCount() < thread.entries.size() && m_segments.back().bytes.bytes.size() < segmentSize) {
        m_segments.pop_back();
    }
}

bool EncodedTask::appendSegments(const ChatThread& thread)
{
    std::string scratch;
    for (std::size_t index = entryCount(); index < thread.entries.size(); ++index) {
        if (index > 0) {
            scratch += ',';
        }
        if (!appendEntry(scratch, thread.entries[index])) {
            return false;
        }
        if (scratch.size() >= segmentSize || index + 1 == thread.entries.size()) {
            m_segments.push_back({ ByteRope::makePiece(scratch), index + 1 });
            scratch.clear();
        }
    }
    return true;
}

} // namespace tessarin
