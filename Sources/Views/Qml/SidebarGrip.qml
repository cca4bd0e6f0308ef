import QtQuick

// The edge between sidebar and detail, to be dragged.
Item {
    id: root

    x: Theme.sidebarIdeal
    width: Theme.grip

    MouseArea {
        anchors.fill: parent
        anchors.leftMargin: -Theme.grip / 2
        anchors.rightMargin: Theme.grip / 2
        cursorShape: Qt.SplitHCursor
        drag.target: root
        drag.axis: Drag.XAxis
        drag.minimumX: Theme.sidebarMinimum
        drag.maximumX: Theme.sidebarMaximum
        drag.threshold: 0
        drag.smoothed: false
    }
}
