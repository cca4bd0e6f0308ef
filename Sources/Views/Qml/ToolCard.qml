pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// One action of an agent. The colour of its symbol is its status; its output opens below when the person asks for it.
EntryRow {
    id: root

    required property EntryListModel entries
    required property string title
    required property string symbol
    required property string status
    required property int statusTint
    required property bool hasText
    property bool expanded: false

    name: title + ", " + status
    texts: (output.object as ToolOutput)?.texts ?? null

    Rectangle {
        id: card

        x: Theme.avatar + Theme.space12
        width: parent.width - x
        height: head.height + output.height
        radius: Theme.radiusMedium
        color: Theme.card
        border.width: Theme.hairline
        border.color: Theme.stroke

        ToolCardHead {
            id: head

            width: parent.width
            title: root.title
            symbol: root.symbol
            status: root.status
            statusTint: root.statusTint
            expandable: root.hasText
            expanded: root.expanded
            onClicked: root.expanded = !root.expanded
        }

        LazyItem {
            id: output

            anchors.top: head.bottom
            width: parent.width
            active: root.expanded && root.hasText

            sourceComponent: ToolOutput {
                entries: root.entries
                row: root.index
                label: "Output of " + root.title
            }
        }
    }
}
