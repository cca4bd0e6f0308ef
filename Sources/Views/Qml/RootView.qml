pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The frame around all content: menu bar, sidebar and detail; above them the banner and the sheets.
FocusScope {
    id: root

    required property WindowModel windowModel
    property bool sidebarShown: true

    signal quit()

    function newTask() {
        windowModel.newTask()
        detail.focusComposer()
    }

    // A focus that would be hidden goes on to the composer.
    function toggleSidebar() {
        if (sidebar.activeFocus) {
            detail.focusComposer()
        }
        sidebarShown = !sidebarShown
    }

    Component.onCompleted: Theme.fixedFamily = windowModel.fixedFamily

    AppMenuBar {
        id: menuBar

        width: parent.width
        sidebarShown: root.sidebarShown
        onNewTask: root.newTask()
        onOpenProject: root.windowModel.openProject()
        onToggleSidebar: root.toggleSidebar()
        onShowShortcuts: shortcuts.active = true
        onQuit: root.quit()
    }

    Sidebar {
        id: sidebar

        anchors.top: menuBar.bottom
        anchors.bottom: parent.bottom
        width: root.sidebarShown ? grip.x : 0
        visible: root.sidebarShown
        windowModel: root.windowModel
        onNewTask: root.newTask()
        onTaskMade: detail.focusComposer()
    }

    DetailView {
        id: detail

        anchors.top: menuBar.bottom
        anchors.bottom: parent.bottom
        anchors.left: sidebar.right
        anchors.right: parent.right
        windowModel: root.windowModel
        sidebarShown: root.sidebarShown
        onToggleSidebar: root.toggleSidebar()
    }

    SidebarGrip {
        id: grip

        anchors.top: menuBar.bottom
        anchors.bottom: parent.bottom
        visible: root.sidebarShown
    }

    LazyItem {
        id: shortcuts

        active: false

        sourceComponent: ShortcutsSheet { onClosed: shortcuts.active = false }
    }

    LazyItem {
        active: root.windowModel.permission.isAsked

        sourceComponent: PermissionSheet { permission: root.windowModel.permission }
    }

    LazyItem {
        active: root.windowModel.install.hasCopiedCommand

        sourceComponent: CopiedCommandSheet { install: root.windowModel.install }
    }

    LazyItem {
        active: root.windowModel.folderPicker.isOpen

        sourceComponent: FolderPickerSheet { picker: root.windowModel.folderPicker }
    }
}
