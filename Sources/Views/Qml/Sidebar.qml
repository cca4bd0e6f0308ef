pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The left column: name, projects with their tasks, and the bottom row.
FocusScope {
    id: root

    required property WindowModel windowModel

    signal newTask()
    signal taskMade()

    Rectangle {
        anchors.fill: parent
        color: Theme.sidebar
    }

    SidebarHeader {
        id: header

        width: parent.width
        onNewTask: root.newTask()
    }

    ListView {
        id: list

        anchors.top: header.bottom
        anchors.bottom: line.top
        x: Theme.space12
        width: parent.width - 2 * Theme.space12
        clip: true
        spacing: Theme.space2
        bottomMargin: Theme.space12
        boundsBehavior: Flickable.StopAtBounds
        currentIndex: -1
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false
        model: root.windowModel.threads
        Accessible.role: Accessible.List
        Accessible.name: "Projects and tasks"
        T.ScrollBar.vertical: ThinScrollBar {}

        delegate: SidebarRow {
            windowModel: root.windowModel
            onTaskMade: root.taskMade()
        }
    }

    ScrollFocus { view: list }

    Hairline {
        id: line

        anchors.bottom: footer.top
        width: parent.width
    }

    Item {
        id: footer

        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.sidebarFooter

        PlainButton {
            x: Theme.space12
            anchors.verticalCenter: parent.verticalCenter
            text: "Open Project"
            symbol: "folder.badge.plus"
            onClicked: root.windowModel.openProject()
        }
    }

    Hairline {
        anchors.right: parent.right
        height: parent.height
    }
}
