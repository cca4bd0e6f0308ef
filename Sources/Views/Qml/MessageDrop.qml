import QtQuick
import Tessarin

// Text that is dropped on the composer goes into the message, a file as its path. Folders are left to the window.
DropArea {
    id: root

    // As it was when it came over the composer.
    property string offered

    signal given(string text, real x, real y)

    onEntered: drag => {
        offered = DroppedThings.text(drag.urls, drag.text)
        drag.accepted = offered !== ""
    }
    onDropped: drop => {
        drop.accept(Qt.CopyAction)
        given(offered, drop.x, drop.y)
    }

    Rectangle {
        anchors.fill: parent
        visible: root.containsDrag
        radius: Theme.radiusExtraLarge
        color: "transparent"
        border.width: Theme.focusWidth
        border.color: Theme.accent
        Accessible.role: Accessible.Notification
        Accessible.name: "Insert into the message"
    }
}
