pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The menu of the card that it is in. The second button opens it where it is pressed, the keys open it at the card. It exists only while
// it is open.
Item {
    id: root

    signal opened()
    signal trashed()

    readonly property int entryOpen: 0
    readonly property int entryTrash: 1

    function open(place, entry) {
        opening.place = place
        opening.entry = entry
        opening.active = true
    }

    // Delete leads to the entry that moves to the trash, and does nothing yet.
    function press(event) {
        const isMenu = event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier)
        event.accepted = isMenu || event.key === Qt.Key_Delete
        if (event.accepted) {
            open(Qt.point(Theme.space12, height / 2), isMenu ? entryOpen : entryTrash)
        }
    }

    anchors.fill: parent

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: point => root.open(point.position, -1)
    }

    LazyItem {
        id: opening

        property point place
        property int entry

        active: false

        sourceComponent: AppMenu {
            x: opening.place.x
            y: opening.place.y
            name: "Creation"
            Component.onCompleted: {
                open()
                currentIndex = opening.entry
            }
            onClosed: opening.active = false

            AppMenuItem {
                text: "Open"
                onTriggered: root.opened()
            }

            AppMenuItem {
                text: "Move to Trash"
                onTriggered: root.trashed()
            }
        }
    }
}
