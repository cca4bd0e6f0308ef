#pragma once

#include <cstddef>

namespace tessarin
{

// What an observer of AppModel is told after a change. Entries are told by row, so that a view touches that row alone.
// A kind is told when its value has become another one; a burst of updates tells one change each.
struct ModelChange {
    enum class Kind {
        workspaces, // the list of projects or of tasks, the title of a task, or what is stored with it
        selection, // selectedWorkspaceID or selectedThreadID; `entries` is another list now
        connectionState,
        plan,
        permissionRequest,
        errorMessage,
        cliLog, // grew at its end, or was emptied
        modes, // permissionMode or routingMode
        activeProvider,
        providerUsage,
        installStatus,
        copiedCommand,
        section,
        imagineItems, // items were added or removed
        imagineState,
        imagineProgress,
        remote, // remoteEnabled, remoteHostState, remoteClientCount, remoteAdvertisedHost or remotePairingURL
        entriesReset, // all entries of the selected task were replaced; its updatedAt stays
        // The last three also say that the updatedAt of the selected task is now; no `workspaces` is told for it.
        entryAppended, // `index` is the new last row
        entryTextAppended, // the text of row `index` grew at its end
        entryChanged, // title, status or text of row `index` were replaced
    };
    Kind kind;
    std::size_t index = 0;
    bool operator==(const ModelChange&) const = default;
};

} // namespace tessarin
