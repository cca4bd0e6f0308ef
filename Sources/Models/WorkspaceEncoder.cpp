#include "Models/RecordText.h"
#include "Models/WorkspaceCoder.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>

namespace tessarin
{

namespace
{

using Piece = ByteRope::Piece;

// Entries are kept in pieces of about this size: small enough that encoding one anew is nothing, large enough that a tree of 100 MB is
// few pieces.
constexpr std::size_t pieceSize = 65536;

// Exactly as large as its bytes.
Piece makePiece(std::string_view bytes)
{
    return std::make_shared<const std::string>(bytes);
}

// What is kept of one task.
class EncodedTask
{
public:
    std::uint64_t lastUsed = 0; // the number of the last encoding of the tree in which it was

    // Brings the pieces up to date. False for a record that can't be encoded; the object is then of no use.
    [[nodiscard]] bool update(const ChatThread& thread, std::size_t firstChanged)
    {
        std::string scratch;
        openTask(scratch, thread);
        m_opening = makePiece(scratch);
        scratch.clear();
        if (!closeTask(scratch, thread)) {
            return false;
        }
        m_closing = makePiece(scratch);
        dropSegments(thread, firstChanged);
        return appendSegments(thread);
    }

    void appendTo(ByteRope& rope) const
    {
        rope.append(m_opening);
        for (const Segment& segment : m_segments) {
            rope.append(segment.bytes);
        }
        rope.append(m_closing);
    }

    [[nodiscard]] std::size_t entryCount() const { return m_segments.empty() ? 0 : m_segments.back().end; }

private:
    struct Segment {
        Piece bytes; // each entry but the task's first one with the comma before it
        std::size_t end; // index behind the last entry
    };

    // Leaves the segments that are still true, without a last one that has room for more.
    void dropSegments(const ChatThread& thread, std::size_t firstChanged)
    {
        const std::size_t unchanged = std::min(firstChanged, thread.entries.size());
        while (entryCount() > unchanged) {
            m_segments.pop_back();
        }
        if (entryCount() < thread.entries.size() && !m_segments.empty() && m_segments.back().bytes->size() < pieceSize) {
            m_segments.pop_back();
        }
    }

    [[nodiscard]] bool appendSegments(const ChatThread& thread)
    {
        std::string scratch;
        for (std::size_t index = entryCount(); index < thread.entries.size(); ++index) {
            if (index > 0) {
                scratch += ',';
            }
            if (!appendEntry(scratch, thread.entries[index])) {
                return false;
            }
            if (scratch.size() >= pieceSize || index + 1 == thread.entries.size()) {
                m_segments.push_back({ makePiece(scratch), index + 1 });
                scratch.clear();
            }
        }
        return true;
    }

    Piece m_opening;
    std::vector<Segment> m_segments;
    Piece m_closing;
};

} // namespace

void TreeChanges::noteEntries(const Uuid& thread, std::size_t firstChanged)
{
    const auto [noted, isNew] = m_firstChanged.try_emplace(thread, firstChanged);
    if (!isNew) {
        noted->second = std::min(noted->second, firstChanged);
    }
}

struct WorkspaceEncoder::Implementation {
    std::unordered_map<Uuid, EncodedTask> tasks;
    std::uint64_t round = 0;
    const Piece comma = makePiece(",");

    // A hostile store may hold one id twice. Such tasks are encoded whole and nothing is kept of them: what is kept of one would pass for
    // the other.
    [[nodiscard]] bool appendTask(
        ByteRope& rope, const ChatThread& thread, const std::unordered_map<Uuid, std::size_t>& changed, std::vector<Uuid>& repeated)
    {
        const auto [found, isNew] = tasks.try_emplace(thread.id);
        EncodedTask& task = found->second;
        if (task.lastUsed == round) {
            repeated.push_back(thread.id);
            EncodedTask other;
            const bool isEncoded = other.update(thread, 0);
            other.appendTo(rope);
            return isEncoded;
        }
        task.lastUsed = round;
        const auto change = changed.find(thread.id);
        const bool isChanged = isNew || change != changed.end() || task.entryCount() != thread.entries.size();
        if (isChanged && !task.update(thread, change != changed.end() ? change->second : task.entryCount())) {
            tasks.erase(found);
            return false;
        }
        task.appendTo(rope);
        return true;
    }

    void forget(const std::vector<Uuid>& repeated)
    {
        for (const Uuid& id : repeated) {
            tasks.erase(id);
        }
        std::erase_if(tasks, [this](const auto& task) { return task.second.lastUsed != round; });
    }

    [[nodiscard]] bool appendProject(
        ByteRope& rope, const Workspace& workspace, const std::unordered_map<Uuid, std::size_t>& changed, std::vector<Uuid>& repeated)
    {
        std::string text;
        openProject(text, workspace);
        rope.append(std::exchange(text, {}));
        for (const ChatThread& thread : workspace.threads) {
            if (&thread != &workspace.threads.front()) {
                rope.append(comma);
            }
            if (!appendTask(rope, thread, changed, repeated)) {
                return false;
            }
        }
        closeProject(text);
        rope.append(std::move(text));
        return true;
    }
};

WorkspaceEncoder::WorkspaceEncoder() : m_implementation(std::make_unique<Implementation>()) { }

WorkspaceEncoder::~WorkspaceEncoder() = default;

std::optional<ByteRope> WorkspaceEncoder::encode(const std::vector<Workspace>& workspaces, TreeChanges& changes)
{
    Implementation& kept = *m_implementation;
    ++kept.round;
    std::vector<Uuid> repeated;
    ByteRope rope;
    rope.append(std::string("["));
    for (const Workspace& workspace : workspaces) {
        if (&workspace != &workspaces.front()) {
            rope.append(kept.comma);
        }
        if (!kept.appendProject(rope, workspace, changes.m_firstChanged, repeated)) {
            kept.forget(repeated);
            return std::nullopt;
        }
    }
    rope.append(std::string("]"));
    kept.forget(repeated);
    changes.m_firstChanged.clear();
    // In a debug build a change that was not noted is found at once, as long as the tree is small.
    assert(rope.size() > 16 * pieceSize || rope.joined() == encodeWorkspaces(workspaces));
    return rope;
}

std::optional<std::string> encodeWorkspaces(const std::vector<Workspace>& workspaces)
{
    std::string out = "[";
    for (const Workspace& workspace : workspaces) {
        out += &workspace == &workspaces.front() ? "" : ",";
        openProject(out, workspace);
        for (const ChatThread& thread : workspace.threads) {
            out += &thread == &workspace.threads.front() ? "" : ",";
            openTask(out, thread);
            for (const ChatEntry& entry : thread.entries) {
                out += &entry == &thread.entries.front() ? "" : ",";
                if (!appendEntry(out, entry)) {
                    return std::nullopt;
                }
            }
            if (!closeTask(out, thread)) {
                return std::nullopt;
            }
        }
        closeProject(out);
    }
    out += ']';
    return out;
}

} // namespace tessarin
