import QtQuick
import Tessarin

// The left column: name, section switch, the projects or the library, and the bottom row.
FocusScope {
    id: root

    required property WindowModel windowModel

    signal newTask()
    signal openSettings()
    signal taskOpened() // a person has gone on to a task, to write

    // To the row of the task, or to the switch where there are no tasks to be seen.
    function takeFocus() {
        const target = list.visible && list.count > 0 ? list : sections
        target.nextItemInFocusChain().forceActiveFocus(Qt.TabFocusReason)
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.sidebar
    }

    SidebarHeader {
        id: header

        width: parent.width
        onNewTask: root.newTask()
    }

    SectionSwitch {
        id: sections

        anchors.top: header.bottom
        x: Theme.space12
        width: parent.width - 2 * Theme.space12
        windowModel: root.windowModel
    }

    TaskList {
        id: list

        anchors.top: sections.bottom
        anchors.topMargin: Theme.space12
        anchors.bottom: line.top
        x: Theme.space12
        width: parent.width - 2 * Theme.space12
        visible: !root.windowModel.showsImagine
        windowModel: root.windowModel
        onTaskOpened: root.taskOpened()
    }

    ScrollFocus { view: list }

    LibrarySummary {
        anchors.top: sections.bottom
        anchors.topMargin: Theme.space18 + Theme.space4
        x: Theme.space18
        width: parent.width - 2 * Theme.space18
        visible: root.windowModel.showsImagine
        imagine: root.windowModel.imagine
    }

    Hairline {
        id: line

        anchors.bottom: footer.top
        width: parent.width
    }

    SidebarFooter {
        id: footer

        anchors.bottom: parent.bottom
        width: parent.width
        windowModel: root.windowModel
        onOpenSettings: root.openSettings()
    }

    Hairline {
        anchors.right: parent.right
        height: parent.height
    }
}
