#include "Models/EncodedTask.h"
#include "Models/RecordText.h"
#include "Models/WorkspaceCoder.h"
#include "Models/WorkspaceDecoder.h"
#include "Platform/FileMapping.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <utility>

namespace tessarin
{

namespace
{

// In a debug build a change that was not noted is found at once, as long as the tree is small.
[[maybe_unused]] bool isTrue(const ByteRope& rope, const std::vector<Workspace>& workspaces)
{
    constexpr std::size_t smallTree = 1 << 17;
    return rope.size() > smallTree || decodeWorkspaces(rope.joined()) == decodeWorkspaces(*encodeWorkspaces(workspaces));
}

// Keeps a mapping for the bytes of a rope, which ask for a text as their owner.
std::shared_ptr<const std::string> asOwner(std::shared_ptr<const FileMapping> mapping)
{
    static const std::string none;
    return { std::move(mapping), &none };
}

// The last piece of a rope. When the rope has been written it goes, and the memory goes that reading the file took.
struct ClosingBracket {
    ~ClosingBracket() { mapping->release(); }
    std::shared_ptr<const FileMapping> mapping;
    std::string text = "]";
};

} // namespace

void TreeChanges::noteEntries(const Uuid& thread, std::size_t firstChanged)
{
    const auto [noted, isNew] = m_firstChanged.try_emplace(thread, firstChanged);
    if (!isNew) {
        noted->second = std::min(noted->second, firstChanged);
    }
}

// The steps of encoding one tree: project by project, task by task.
struct WorkspaceEncoder::Implementation {
    std::unordered_map<Uuid, EncodedTask> tasks;
    std::uint64_t round = 0;
    const ByteRope::Piece comma = ByteRope::makePiece(",");
    std::vector<Uuid> repeated; // ids that the tree holds more than once
    std::weak_ptr<const std::string> decoded; // the text whose bytes the tasks keep
    std::shared_ptr<const FileMapping> mapping; // of the file where they keep them instead

    [[nodiscard]] bool appendProject(ByteRope& rope, const Workspace& workspace, const TreeChanges& changes);
    [[nodiscard]] bool appendTask(ByteRope& rope, const ChatThread& thread, const TreeChanges& changes);
    [[nodiscard]] bool appendRepeatedTask(ByteRope& rope, const ChatThread& thread);
    void beginRound();
    void appendClosing(ByteRope& rope) const;
    void forgetRepeated();
    void forgetAbsent();
};

void WorkspaceEncoder::Implementation::beginRound()
{
    ++round;
    repeated.clear();
    if (mapping != nullptr && !mapping->isUnchanged()) {
        tasks.clear();
        mapping.reset();
    }
}

void WorkspaceEncoder::Implementation::appendClosing(ByteRope& rope) const
{
    if (mapping == nullptr) {
        rope.append(std::string("]"));
        return;
    }
    auto closing = std::make_shared<ClosingBracket>();
    closing->mapping = mapping;
    const std::string& text = closing->text;
    rope.append({ std::shared_ptr<const std::string>(std::move(closing), &text), text });
}

bool WorkspaceEncoder::Implementation::appendProject(ByteRope& rope, const Workspace& workspace, const TreeChanges& changes)
{
    std::string text;
    openProject(text, workspace);
    rope.append(std::exchange(text, {}));
    for (const ChatThread& thread : workspace.threads) {
        if (&thread != &workspace.threads.front()) {
            rope.append(comma);
        }
        if (!appendTask(rope, thread, changes)) {
            return false;
        }
    }
    closeProject(text);
    rope.append(std::move(text));
    return true;
}

bool WorkspaceEncoder::Implementation::appendTask(ByteRope& rope, const ChatThread& thread, const TreeChanges& changes)
{
    const auto [found, isNew] = tasks.try_emplace(thread.id);
    EncodedTask& task = found->second;
    if (task.lastRound == round) {
        return appendRepeatedTask(rope, thread);
    }
    task.lastRound = round;
    const auto change = changes.m_firstChanged.find(thread.id);
    const bool isNoted = change != changes.m_firstChanged.end();
    if (isNew || isNoted || task.entryCount() != thread.entries.size()) {
        if (!task.update(thread, isNoted ? change->second : task.entryCount())) {
            tasks.erase(found);
            return false;
        }
    }
    task.appendTo(rope);
    return true;
}

// A hostile store may hold one id twice. Such tasks are encoded whole, and nothing is kept of them: what is kept of one would pass for
// the other when one of them goes.
bool WorkspaceEncoder::Implementation::appendRepeatedTask(ByteRope& rope, const ChatThread& thread)
{
    repeated.push_back(thread.id);
    EncodedTask task;
    const bool isEncoded = task.update(thread, 0);
    task.appendTo(rope);
    return isEncoded;
}

void WorkspaceEncoder::Implementation::forgetRepeated()
{
    for (const Uuid& id : repeated) {
        tasks.erase(id);
    }
}

void WorkspaceEncoder::Implementation::forgetAbsent()
{
    std::erase_if(tasks, [this](const auto& task) { return task.second.lastRound != round; });
}

WorkspaceEncoder::WorkspaceEncoder() : m_implementation(std::make_unique<Implementation>()) { }

WorkspaceEncoder::~WorkspaceEncoder() = default;

WorkspaceEncoder::WorkspaceEncoder(WorkspaceEncoder&&) noexcept = default;

WorkspaceEncoder& WorkspaceEncoder::operator=(WorkspaceEncoder&&) noexcept = default;

std::optional<std::vector<Workspace>> WorkspaceEncoder::decode(std::string json)
{
    Implementation& kept = *m_implementation;
    const auto text = std::make_shared<const std::string>(std::move(json));
    EntrySlicer slicer(text);
    auto workspaces = decodeWorkspaces(*text, &slicer);
    kept.tasks.clear();
    kept.mapping.reset();
    kept.decoded = text;
    kept.beginRound();
    for (std::size_t project = 0; workspaces && project < workspaces->size(); ++project) {
        const std::vector<ChatThread>& threads = (*workspaces)[project].threads;
        for (std::size_t index = 0; index < threads.size(); ++index) {
            EncodedTask task(slicer.takeSegments(project, index));
            task.lastRound = kept.round;
            if (!task.update(threads[index], task.entryCount())) {
                continue; // encoding it will fail again, and say so
            }
            if (!kept.tasks.try_emplace(threads[index].id, std::move(task)).second) {
                kept.repeated.push_back(threads[index].id);
            }
        }
    }
    kept.forgetRepeated();
    return workspaces;
}

void WorkspaceEncoder::leaveOnDisk(const std::string& path)
{
    Implementation& kept = *m_implementation;
    const auto decoded = kept.decoded.lock();
    const auto mapping = decoded ? FileMapping::ofSameBytes(path, *decoded) : nullptr;
    if (mapping == nullptr) {
        return;
    }
    kept.mapping = mapping;
    for (auto& [id, task] : kept.tasks) {
        task.takeFrom(decoded, asOwner(mapping), mapping->bytes());
    }
}

std::optional<ByteRope> WorkspaceEncoder::encode(const std::vector<Workspace>& workspaces, TreeChanges& changes)
{
    Implementation& kept = *m_implementation;
    kept.beginRound();
    ByteRope rope(std::string("["));
    for (const Workspace& workspace : workspaces) {
        if (&workspace != &workspaces.front()) {
            rope.append(kept.comma);
        }
        if (!kept.appendProject(rope, workspace, changes)) {
            kept.forgetRepeated();
            return std::nullopt;
        }
    }
    kept.appendClosing(rope);
    kept.forgetRepeated();
    kept.forgetAbsent();
    changes.m_firstChanged.clear();
    assert(isTrue(rope, workspaces));
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
