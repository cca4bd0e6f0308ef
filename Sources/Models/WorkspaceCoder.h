#pragma once

#include "Models/Workspace.h"
#include "Platform/Files.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessarin
{

// The stored form of the tree: a JSON array of projects, instants in seconds since 2001, absent fields left out.
// Decoding fails as a whole for a missing required key, a wrong type, an unknown vocabulary text, a text that is no UUID, a number that
// no double holds and anything nested deeper than maximumJsonDepth. A null stands for an absent optional field; unknown keys are passed
// over; of a key that occurs twice the last value counts, and each must be of the right type.
[[nodiscard]] std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view json);
// On one line, keys in the order in which the records declare them. Fails for an instant that is not finite: JSON has no such number.
[[nodiscard]] std::optional<std::string> encodeWorkspaces(const std::vector<Workspace>& workspaces);

// What has changed in each task since it was last encoded, so that a save encodes that and hands on the rest.
// The owner of the tree notes every change here. New, removed and reordered tasks and all of a project's own fields need no note.
class TreeChanges
{
public:
    // All of the task's record may differ from what was encoded.
    void noteTask(const Uuid& thread) { noteEntries(thread, 0); }
    // The task's own fields may differ (title, sessions, times), its entries do not.
    void noteFields(const Uuid& thread) { noteEntries(thread, static_cast<std::size_t>(-1)); }
    // The task's own fields, and its entries from this index on, may differ.
    void noteEntries(const Uuid& thread, std::size_t firstChanged);
    [[nodiscard]] bool isEmpty() const { return m_firstChanged.empty(); }

private:
    friend class WorkspaceEncoder;
    std::unordered_map<Uuid, std::size_t> m_firstChanged;
};

// Encodes the tree, keeping the bytes of what has not changed: about as much memory as the stored tree is long, unless they are left on the
// disk. One thread at a time.
class WorkspaceEncoder
{
public:
    WorkspaceEncoder();
    ~WorkspaceEncoder();
    WorkspaceEncoder(WorkspaceEncoder&&) noexcept;
    WorkspaceEncoder& operator=(WorkspaceEncoder&&) noexcept;

    // decodeWorkspaces(json), which is kept as the bytes of the tree that it returns: the first encoding after it is as cheap as any.
    // What was kept before is dropped.
    [[nodiscard]] std::optional<std::vector<Workspace>> decode(std::string json);

    // What `decode` has kept stands in this file too: from now on it is read from there when it is written again, and takes no memory.
    // Nothing happens when the file holds anything else. What is later written into the file, and not in its place, makes the next
    // encoding encode everything anew.
    void leaveOnDisk(const std::string& path);

    // What reads back as the tree, absent where encodeWorkspaces is. Empties `changes`, unless it fails. The bytes are those of
    // encodeWorkspaces(workspaces) but for entries that `decode` has seen in another spelling and that did not change.
    // A task that the encoder has not seen is encoded whole.
    // Requires: every change since the last call was noted in `changes`.
    [[nodiscard]] std::optional<ByteRope> encode(const std::vector<Workspace>& workspaces, TreeChanges& changes);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
