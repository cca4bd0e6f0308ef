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

    function showCode() {
        windowModel.showCode()
        detail.focusComposer()
    }

    function showImagine() {
        windowModel.showImagine()
        detail.focusComposer()
    }

    // A focus that would be hidden goes on to the composer.
    function toggleSidebar() {
        if (sidebar.activeFocus) {
            detail.focusComposer()
        }
        sidebarShown = !sidebarShown
    }

    // One window: asked for again, it comes to the front.
    function openSettings() {
        settings.active = true
        const opened = settings.object as SettingsWindow
        opened.present()
    }

    function openLog() {
        runtimeLog.active = true
        const opened = runtimeLog.object as RuntimeLogWindow
        opened.present()
    }

    function changePane() {
        if (sidebar.activeFocus) {
            detail.focusComposer()
        } else {
            sidebarShown = true
            sidebar.takeFocus()
        }
    }

    Component.onCompleted: Theme.fixedFamily = windowModel.fixedFamily

    AppMenuBar {
        id: menuBar

        width: parent.width
        windowModel: root.windowModel
        sidebarShown: root.sidebarShown
        onNewTask: root.newTask()
        onOpenSettings: root.openSettings()
        onToggleSidebar: root.toggleSidebar()
        onShowCode: root.showCode()
        onShowImagine: root.showImagine()
        onGoToMessage: detail.focusComposer()
        onChangePane: root.changePane()
        onListKeys: shortcuts.active = true
        onOpenLog: root.openLog()
        onGivenUp: columns.forceActiveFocus(Qt.PopupFocusReason)
        onQuit: root.quit()
    }

    // It remembers what in it had the focus, for when a menu or a sheet goes.
    FocusScope {
        id: columns

        anchors.top: menuBar.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        focus: true

        SidebarView {
            id: sidebar

            width: root.sidebarShown ? grip.x : 0
            height: parent.height
            visible: root.sidebarShown
            windowModel: root.windowModel
            onNewTask: root.newTask()
            onOpenSettings: root.openSettings()
            onTaskOpened: detail.focusComposer()
        }

        // Between the columns for Tab too; its own place is above both.
        SidebarGrip {
            id: grip

            height: parent.height
            z: 1
            visible: root.sidebarShown
            windowModel: root.windowModel
        }

        DetailView {
            id: detail

            anchors.left: sidebar.right
            anchors.right: parent.right
            height: parent.height
            windowModel: root.windowModel
            sidebarShown: root.sidebarShown
            onToggleSidebar: root.toggleSidebar()
        }
    }

    // What goes with the focus leaves it to the window as a whole, where no key is heard.
    Connections {
        target: root.Window.window

        function onActiveFocusItemChanged() {
            const item = root.Window.activeFocusItem
            if (item === null || item === root.Window.contentItem) {
                columns.forceActiveFocus(Qt.PopupFocusReason)
            }
        }
    }

    ProjectDrop {
        anchors.fill: parent
        windowModel: root.windowModel
    }

    Announcement { announcer: root.windowModel.announcer }

    LazyItem {
        id: shortcuts

        active: false

        sourceComponent: ShortcutsSheet { onClosed: shortcuts.active = false }
    }

    LazyItem {
        id: settings

        active: false

        sourceComponent: SettingsWindow {
            windowModel: root.windowModel
            transientParent: root.Window.window
            onClosed: settings.active = false
            onQuit: root.quit()
        }
    }

    LazyItem {
        id: runtimeLog

        active: false

        sourceComponent: RuntimeLogWindow {
            windowModel: root.windowModel
            transientParent: root.Window.window
            onClosed: runtimeLog.active = false
            onQuit: root.quit()
        }
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
