#pragma once

#include "Models/Workspace.h"
#include "Platform/Files.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessarin
{

// The stored form of the tree: a JSON array of projects, instants in seconds since 2001, absent fields left out.
// Decoding fails as a whole for a missing required key, a wrong type, an unknown vocabulary text or a text that is no UUID.
[[nodiscard]] std::optional<std::vector<Workspace>> decodeWorkspaces(std::string_view json);
[[nodiscard]] std::string encodeWorkspaces(const std::vector<Workspace>& workspaces);

// What has changed in each task since it was last encoded, so that a save encodes that and hands on the rest.
// The owner of the tree notes every change here.
class TreeChanges
{
public:
    // All of the task's record, or its entries from this index on, may differ from what was encoded.
    void noteTask(const Uuid& thread) { noteEntries(thread, 0); }
    void noteEntries(const Uuid& thread, std::size_t firstChanged);

private:
    friend class WorkspaceEncoder;
    std::unordered_map<Uuid, std::size_t> m_firstChanged;
};

// Encodes the tree, keeping the bytes of what has not changed. Main thread only.
class WorkspaceEncoder
{
public:
    WorkspaceEncoder();
    ~WorkspaceEncoder();
    // The same bytes as encodeWorkspaces(workspaces). Empties `changes`. A task that the encoder has not seen is encoded whole.
    // Requires: every change since the last call was noted in `changes`.
    [[nodiscard]] ByteRope encode(const std::vector<Workspace>& workspaces, TreeChanges& changes);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace tessarin
