import QtQuick
import Tessarin

// Folders that are dropped anywhere on the window become projects. While they are over it, it says so.
DropArea {
    id: root

    required property WindowModel windowModel
    property list<string> folders

    enabled: !windowModel.permission.isAsked
    onEntered: drag => {
        folders = DroppedThings.folders(drag.urls)
        drag.accepted = folders.length > 0
    }
    onExited: folders = []
    onDropped: drop => {
        drop.accept(Qt.CopyAction)
        windowModel.openFolders(folders)
        folders = []
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: Theme.space8
        visible: root.folders.length > 0
        radius: Theme.radiusLarge
        color: Qt.alpha(Theme.accentTint, Theme.dropGround)
        border.width: Theme.focusWidth
        border.color: Theme.accent
        Accessible.role: Accessible.Notification
        Accessible.name: said.text

        Rectangle {
            anchors.centerIn: parent
            width: row.width + 2 * Theme.space24
            height: row.height + 2 * Theme.space18
            radius: Theme.radiusLarge
            color: Theme.card
            border.width: Theme.hairline
            border.color: Theme.stroke
        }

        Row {
            id: row

            anchors.centerIn: parent
            spacing: Theme.space12

            SystemSymbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "folder.badge.plus"
                size: Theme.symbolSheet
                color: Theme.accent
            }

            Line {
                id: said

                anchors.verticalCenter: parent.verticalCenter
                text: root.folders.length <= 1 ? "Open as a project" : "Open " + root.folders.length + " projects"
                font: Theme.titleFont
            }
        }
    }
}
