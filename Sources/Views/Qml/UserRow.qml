import QtQuick
import Tessarin

// What the person wrote: a tinted bubble at the right, at least 80 away from the left edge of the column.
EntryRow {
    id: root

    required property EntryListModel entries

    name: "You"
    texts: text

    Rectangle {
        id: bubble

        readonly property int inset: Theme.space12 + Theme.space2
        readonly property real most: parent.width - Theme.bubbleInset

        anchors.right: parent.right
        width: Math.min(most, Math.ceil(text.implicitWidth) + 2 * inset)
        height: text.height + 2 * Theme.spaceRow
        radius: Theme.radiusExtraLarge
        color: Theme.accentTint

        PlainPages {
            id: text

            x: bubble.inset
            y: Theme.spaceRow
            width: bubble.width - 2 * bubble.inset
            entries: root.entries
            row: root.index
            label: root.name
        }
    }
}
