import QtQuick
import Tessarin

// The edge between sidebar and detail. It is dragged, or moved by the arrows while it has the focus; a double click brings it back.
Item {
    id: root

    required property WindowModel windowModel
    readonly property int chosen: windowModel.sidebarWidth > 0 ? windowModel.sidebarWidth : Theme.sidebarIdeal

    function moveTo(width) {
        windowModel.sidebarWidth = bounded(Math.round(width))
    }

    function bounded(width) {
        return Math.max(Theme.sidebarMinimum, Math.min(Theme.sidebarMaximum, width))
    }

    x: bounded(chosen)
    width: Theme.grip
    activeFocusOnTab: true
    Accessible.role: Accessible.Splitter
    Accessible.name: "Width of the sidebar"
    Accessible.description: String(x)
    Accessible.focusable: true
    Accessible.onIncreaseAction: moveTo(x + Theme.space12)
    Accessible.onDecreaseAction: moveTo(x - Theme.space12)
    Keys.onLeftPressed: moveTo(x - Theme.space12)
    Keys.onRightPressed: moveTo(x + Theme.space12)
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End
        if (event.accepted) {
            moveTo(event.key === Qt.Key_Home ? Theme.sidebarMinimum : Theme.sidebarMaximum)
        }
    }

    Rectangle {
        x: -width / 2
        width: Theme.focusWidth
        height: parent.height
        color: Theme.accent
        visible: root.activeFocus || mouse.pressed
    }

    MouseArea {
        id: mouse

        property real grasp: 0

        anchors.fill: parent
        anchors.leftMargin: -Theme.grip / 2
        anchors.rightMargin: Theme.grip / 2
        cursorShape: Qt.SplitHCursor
        preventStealing: true
        onPressed: event => grasp = event.x
        onPositionChanged: event => root.moveTo(root.x + event.x - grasp)
        onDoubleClicked: root.moveTo(Theme.sidebarIdeal)
    }
}
