pragma ComponentBehavior: Bound

import QtQuick

// Groups of keys, one below the other: what each does, and the keys at the right.
Column {
    id: root

    required property var groups

    Repeater {
        model: root.groups

        Column {
            id: group

            required property var modelData

            width: parent.width
            bottomPadding: Theme.space8

            Line {
                height: Theme.controlTiny
                text: group.modelData.name
                font: Theme.captionStrongFont
                color: Theme.secondaryText
            }

            Repeater {
                model: group.modelData.keys

                ShortcutRow {
                    required property var modelData

                    width: group.width
                    does: modelData.does
                    keys: modelData.keys
                }
            }
        }
    }
}
