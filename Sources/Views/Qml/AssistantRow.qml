import QtQuick
import Tessarin

// What an agent wrote: its avatar in the gutter, then the blocks of its Markdown.
EntryRow {
    id: root

    required property EntryListModel entries
    required property string speaker
    required property string symbol

    name: speaker
    texts: pages

    AvatarView { symbol: root.symbol }

    MarkdownPages {
        id: pages

        x: Theme.avatar + Theme.space12
        y: Theme.hairline
        width: parent.width - x
        entries: root.entries
        row: root.index
        label: root.name
    }
}
