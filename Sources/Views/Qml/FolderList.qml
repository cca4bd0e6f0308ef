pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The folders in the folder that is shown.
Rectangle {
    id: root

    required property FolderPicker picker

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
        model: root.picker.folders
        Accessible.role: Accessible.List
        Accessible.name: "Folders"
        T.ScrollBar.vertical: ThinScrollBar {}

        delegate: FolderRow { picker: root.picker }
    }

    Prose {
        anchors.centerIn: parent
        visible: list.count === 0
        text: "No folders here"
    }
}
