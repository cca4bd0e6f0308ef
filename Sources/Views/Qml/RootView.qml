pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The frame around all content: menu bar, sidebar and detail; above them the banner and the sheets.
FocusScope {
    id: root

    required property WindowModel windowModel
    property bool sidebarShown: true
    property SideWindow asksThere: null
    readonly property bool asksHere: windowModel.quitting.isAsked && !(asksThere?.visible ?? false)

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

    // In the window that stands over the others, so that no other one hides it.
    function placeQuestion() {
        const beside = [settings.object as SideWindow, runtimeLog.object as SideWindow, softwareUpdate.object as SideWindow]
        const open = beside.filter(window => window?.visible ?? false)
        asksThere = open.find(window => window.active) ?? open[0] ?? null
        if (asksThere !== null) {
            asksThere.present()
        } else {
            Window.window.raise()
            Window.window.requestActivate()
        }
    }

    // In the window from which it was asked for.
    function placeCommand() {
        const isCopied = windowModel.install.hasCopiedCommand
        const opened = settings.object as SettingsWindow
        const isOverSettings = opened !== null && (opened.active || opened.showsCommand)
        if (opened !== null) {
            opened.showsCommand = isCopied && isOverSettings
        }
        copiedCommand.active = isCopied && !isOverSettings
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
        onQuit: root.windowModel.quitting.request()
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

    Connections {
        target: root.windowModel.install

        function onCopiedCommandChanged() { root.placeCommand() }
    }

    Connections {
        target: root.windowModel.quitting

        function onAsking() { root.placeQuestion() }
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
            asksToQuit: root.asksThere === this
            onClosed: settings.active = false
        }
    }

    LazyItem {
        id: runtimeLog

        active: false

        sourceComponent: RuntimeLogWindow {
            windowModel: root.windowModel
            transientParent: root.Window.window
            asksToQuit: root.asksThere === this
            onClosed: runtimeLog.active = false
        }
    }

    // One question at a time, so that an Escape that is meant for the one does not answer the other.
    LazyItem {
        active: root.asksHere

        sourceComponent: QuitAlert { quitting: root.windowModel.quitting }
    }

    LazyItem {
        id: softwareUpdate

        active: root.windowModel.updateFlow?.isShown ?? false

        sourceComponent: UpdateWindow {
            windowModel: root.windowModel
            transientParent: root.Window.window
            asksToQuit: root.asksThere === this
        }
    }

    LazyItem {
        active: root.windowModel.permission.isAsked && !root.asksHere

        sourceComponent: PermissionSheet { permission: root.windowModel.permission }
    }

    LazyItem {
        id: copiedCommand

        active: false

        sourceComponent: CopiedCommandSheet { install: root.windowModel.install }
    }

    LazyItem {
        active: root.windowModel.folderPicker.isOpen

        sourceComponent: FolderPickerSheet { picker: root.windowModel.folderPicker }
    }
}
