pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// Reasoning, closed until it is asked for.
EntryRow {
    id: root

    required property EntryListModel entries
    property bool expanded: false

    name: "Reasoning"

    DisclosureButton {
        id: head

        x: Theme.avatar + Theme.space12
        height: Theme.rowThought
        text: root.name
        symbol: "brain.head.profile"
        expanded: root.expanded
        onClicked: root.expanded = !root.expanded
    }

    LazyItem {
        active: root.expanded
        x: head.x + Theme.space24
        y: head.height + Theme.space4
        width: parent.width - x

        sourceComponent: PlainPages {
            id: pages

            entries: root.entries
            row: root.index
            label: root.name
            lineHeight: Theme.lineCallout
            font: Theme.calloutFont
            color: Theme.secondaryText
            Component.onCompleted: root.texts = pages
        }
    }
}
