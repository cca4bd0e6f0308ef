#pragma once

#include "Models/WorkspaceCoder.h"
#include "Platform/Preferences.h"

#include <memory>
#include <vector>

namespace tessarin
{

// The whole tree under one preference key. Failures are silent: an undecodable value loads as an empty tree and is kept aside
// before the next save replaces it. Main thread only; load comes before the first save.
class WorkspaceStore
{
public:
    static constexpr const char* key = "savedWorkspaces.v1";

    // The preferences outlive the store.
    explicit WorkspaceStore(Preferences& preferences);
    ~WorkspaceStore(); // waits for what beginLoading started

    // The stored projects whose path exists at this moment, in their order.
    [[nodiscard]] std::vector<Workspace> load();
    // Replaces the stored tree; nothing happens when it can't be encoded. Returns before it is written (see Preferences).
    // Requires: every change since the last save was noted in `changes`, which is emptied.
    void save(const std::vector<Workspace>& workspaces, TreeChanges& changes);

    // Reads and decodes the stored tree on another thread, so that the window can come up meanwhile; the next load() waits for it.
    void beginLoading();

private:
    struct Loading;

    Preferences& m_preferences;
    WorkspaceEncoder m_encoder;
    std::unique_ptr<Loading> m_loading; // from beginLoading to load
};

} // namespace tessarin
