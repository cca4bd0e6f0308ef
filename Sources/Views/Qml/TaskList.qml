pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The projects and their tasks. Tab leads to one row of it, at first to the selected task; the arrows lead from row to row.
ListView {
    id: root

    required property WindowModel windowModel

    signal taskOpened()

    function toSelectedTask() {
        const row = windowModel.threads.currentRow()
        currentIndex = row < 0 ? Math.min(0, count - 1) : row
        positionViewAtIndex(currentIndex, ListView.Contain)
    }

    function press(event) {
        const page = Math.max(1, Math.floor(height / Theme.rowTask))
        const steps = { [Qt.Key_Up]: -1, [Qt.Key_Down]: 1, [Qt.Key_PageUp]: -page, [Qt.Key_PageDown]: page,
                        [Qt.Key_Home]: -count, [Qt.Key_End]: count }
        event.accepted = event.key in steps
        if (event.accepted) {
            currentIndex = Math.max(0, Math.min(count - 1, currentIndex + steps[event.key]))
            positionViewAtIndex(currentIndex, ListView.Contain)
        }
    }

    clip: true
    spacing: Theme.space2
    bottomMargin: Theme.space12
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false
    highlightFollowsCurrentItem: false
    model: windowModel.threads
    Accessible.role: Accessible.List
    Accessible.name: "Projects and tasks"
    T.ScrollBar.vertical: ThinScrollBar {}
    Component.onCompleted: toSelectedTask()
    Keys.onPressed: event => press(event)

    Connections {
        target: root.windowModel.threads

        function onSelectionMoved() { root.toSelectedTask() }
    }

    delegate: WorkspaceSection {
        windowModel: root.windowModel
        onTaskOpened: root.taskOpened()
    }
}
