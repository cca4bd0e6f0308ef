#pragma once

#include <cstddef>

namespace tessarin
{

// What an observer of AppModel is told after a change. Entries are told by row, so that a view touches that row alone.
struct ModelChange {
    enum class Kind {
        workspaces, // the list of projects, or tasks, or a title, or an updatedAt
        selection, // selectedWorkspaceID or selectedThreadID; `entries` is another list now
        connectionState,
        plan,
        permissionRequest,
        errorMessage,
        cliLog,
        modes, // permissionMode or routingMode
        activeProvider,
        providerUsage,
        installStatus,
        section,
        entriesReset, // all entries of the selected task were replaced
        entryAppended, // `index` is the new last row
        entryTextAppended, // the text of row `index` grew at its end
        entryChanged, // title, status or text of row `index` were replaced
    };
    Kind kind;
    std::size_t index = 0;
};

} // namespace tessarin
