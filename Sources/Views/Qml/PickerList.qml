import QtQuick
import QtQuick.Templates as T
import Tessarin

// What is in the folder that is shown.
Rectangle {
    id: root

    required property string name
    required property string emptyText
    required property var entries
    required property Component row // of one entry

    implicitHeight: Theme.sheetListHeight
    radius: Theme.radiusMedium
    color: Theme.card
    border.width: Theme.hairline
    border.color: Theme.stroke

    ListView {
        id: list

        anchors.fill: parent
        anchors.margins: Theme.space4
        clip: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        model: root.entries
        delegate: root.row
        Accessible.role: Accessible.List
        Accessible.name: root.name
        T.ScrollBar.vertical: ThinScrollBar {}
    }

    Prose {
        anchors.centerIn: parent
        visible: list.count === 0
        text: root.emptyText
    }
}
