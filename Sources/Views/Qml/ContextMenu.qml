pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The menu of one entry that the second button opens over its parent. It exists only while it is open.
Item {
    id: root

    required property string text

    signal triggered()

    function open() {
        popup.active = true
    }

    anchors.fill: parent

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: root.open()
    }

    LazyItem {
        id: popup

        active: false

        sourceComponent: AppMenu {
            x: Theme.space12
            y: root.height
            name: root.text
            Component.onCompleted: open()
            onClosed: popup.active = false

            AppMenuItem {
                text: root.text
                onTriggered: root.triggered()
            }
        }
    }
}
