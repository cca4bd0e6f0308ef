import QtQuick

// The badge, the name, and the way to a new task.
Item {
    id: root

    signal newTask()

    implicitHeight: Theme.headerHeight

    Rectangle {
        id: badge

        x: Theme.space18
        anchors.verticalCenter: parent.verticalCenter
        width: Theme.badge
        height: Theme.badge
        radius: Theme.radiusButton
        color: Theme.accentFill

        SystemSymbol {
            anchors.centerIn: parent
            name: "sparkles"
            color: Theme.inkOnAccent
        }
    }

    Line {
        anchors.left: badge.right
        anchors.leftMargin: Theme.spaceRow
        anchors.verticalCenter: parent.verticalCenter
        text: "tessarin"
        font: Theme.bodyStrongFont
    }

    SymbolButton {
        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "square.and.pencil"
        toolTip: "New task"
        onClicked: root.newTask()
    }
}
