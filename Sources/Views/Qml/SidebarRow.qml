pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// One row of the sidebar: the heading of a project, or one of its tasks.
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

    signal taskMade()

    order: index
    width: ListView.view ? ListView.view.width : 0
    height: row.implicitHeight

    LazyItem {
        id: row

        width: parent.width
        sourceComponent: root.isProject ? project : task
    }

    Component {
        id: project

        ProjectHeading {
            windowModel: root.windowModel
            name: root.title
            workspaceID: root.workspaceID
            first: root.index === 0
            onTaskMade: root.taskMade()
        }
    }

    Component {
        id: task

        TaskRow {
            windowModel: root.windowModel
            title: root.title
            updated: root.updated
            current: root.current
            workspaceID: root.workspaceID
            threadID: root.threadID
        }
    }
}
