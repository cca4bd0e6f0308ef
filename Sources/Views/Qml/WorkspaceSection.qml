pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The section of one project, row by row, so that only the rows that are seen exist: its heading, and one for each of its tasks.
OrderedItem {
    id: root

    required property WindowModel windowModel
    required property int index
    required property bool isProject
    required property string title
    required property string updated
    required property bool current
    required property string workspaceID
    required property string threadID
    // Whether Tab leads here; one row of the list is that.
    readonly property bool reachable: ListView.isCurrentItem

    signal taskOpened()

    // Where Tab leads next time.
    function becomeCurrent() {
        if (activeFocus) {
            ListView.view.currentIndex = index
        }
    }

    order: index
    width: ListView.view ? ListView.view.width : 0
    height: row.implicitHeight
    // Later, because the list gives the focus to a row while it still works on its rows.
    onActiveFocusChanged: Qt.callLater(becomeCurrent)

    LazyItem {
        id: row

        width: parent.width
        focus: true
        sourceComponent: root.isProject ? project : task
    }

    Component {
        id: project

        ProjectHeading {
            focus: true
            windowModel: root.windowModel
            name: root.title
            workspaceID: root.workspaceID
            first: root.index === 0
            reachable: root.reachable
            onTaskMade: root.taskOpened()
        }
    }

    Component {
        id: task

        TaskRow {
            focus: true
            windowModel: root.windowModel
            title: root.title
            updated: root.updated
            current: root.current
            workspaceID: root.workspaceID
            threadID: root.threadID
            reachable: root.reachable
            onOpened: root.taskOpened()
        }
    }
}
