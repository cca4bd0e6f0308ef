pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The menu of one entry that belongs to its parent. The second button opens it where it is pressed; the keys open it with its entry
// chosen, so that Return does it and Escape does not. It exists only while it is open.
Item {
    id: root

    required property string text

    signal triggered()

    function open(place, entry) {
        popup.place = place
        popup.entry = entry
        popup.active = true
    }

    // Delete leads to the entry too, and does nothing yet.
    function press(event) {
        event.accepted = event.key === Qt.Key_Menu || event.key === Qt.Key_Delete
            || (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier)
        if (event.accepted) {
            open(Qt.point(Theme.space12, height), 0)
        }
    }

    anchors.fill: parent

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: point => root.open(point.position, -1)
    }

    LazyItem {
        id: popup

        property point place
        property int entry

        active: false

        sourceComponent: AppMenu {
            x: popup.place.x
            y: popup.place.y
            name: root.text
            Component.onCompleted: {
                open()
                currentIndex = popup.entry
            }
            onClosed: popup.active = false

            AppMenuItem {
                text: root.text
                onTriggered: root.triggered()
            }
        }
    }
}
