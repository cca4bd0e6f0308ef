pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The slim bar of menus, and the keys that work everywhere. F10 leads to the bar by keyboard. While a menu is open, the pointer opens the
// one that it comes to.
Rectangle {
    id: root

    required property WindowModel windowModel
    required property bool sidebarShown
    readonly property list<AppMenuBarItem> titles: [file, view, help]
    readonly property bool isOpen: file.isOpen || view.isOpen || help.isOpen

    signal newTask()
    signal openSettings()
    signal toggleSidebar()
    signal showCode()
    signal showImagine()
    signal goToMessage()
    signal changePane()
    signal listKeys()
    signal openLog()
    signal givenUp()
    signal quit()

    function enter(title) {
        if (isOpen && !title.isOpen) {
            close()
            title.open(-1)
            title.isFresh = true
        }
    }

    function close() {
        file.close()
        view.close()
        help.close()
    }

    function walk(title, steps) {
        const next = titles[(title.position + steps + titles.length) % titles.length]
        if (isOpen) {
            close()
            next.open(0)
        } else {
            next.forceActiveFocus(Qt.ShortcutFocusReason)
        }
    }

    implicitHeight: Theme.menuBarHeight
    color: Theme.sidebar
    Accessible.role: Accessible.MenuBar
    Accessible.name: "Menus"

    Hairline {
        anchors.bottom: parent.bottom
        width: parent.width
    }

    Row {
        x: Theme.space8

        AppMenuBarItem {
            id: file

            text: "File"
            position: 0
            onHoveredChanged: if (hovered) root.enter(file)
            onWalked: steps => root.walk(file, steps)
            onGivenUp: root.givenUp()

            AppMenuItem { text: "New Task"; keys: Shortcuts.newTask; onTriggered: root.newTask() }
            AppMenuItem { text: "Open Project…"; keys: Shortcuts.openProject; onTriggered: root.windowModel.openProject() }
            AppMenuSeparator {}
            AppMenuItem {
                text: "Stop Agent"
                keys: Shortcuts.stopAgent
                enabled: root.windowModel.conversation.isWorking
                onTriggered: root.windowModel.conversation.stopWorking()
            }
            AppMenuSeparator {}
            AppMenuItem { text: "Settings…"; keys: Shortcuts.settings; onTriggered: root.openSettings() }
            AppMenuSeparator {}
            AppMenuItem { text: "Quit"; keys: Shortcuts.quit; onTriggered: root.quit() }
        }

        AppMenuBarItem {
            id: view

            text: "View"
            position: 1
            onHoveredChanged: if (hovered) root.enter(view)
            onWalked: steps => root.walk(view, steps)
            onGivenUp: root.givenUp()

            AppMenuItem { text: "Code"; keys: Shortcuts.showCode; onTriggered: root.showCode() }
            AppMenuItem { text: "Imagine"; keys: Shortcuts.showImagine; onTriggered: root.showImagine() }
            AppMenuSeparator {}
            AppMenuItem { text: "Previous Task"; keys: Shortcuts.previousTask; onTriggered: root.windowModel.selectPreviousTask() }
            AppMenuItem { text: "Next Task"; keys: Shortcuts.nextTask; onTriggered: root.windowModel.selectNextTask() }
            AppMenuSeparator {}
            AppMenuItem {
                text: root.sidebarShown ? "Hide Sidebar" : "Show Sidebar"
                keys: Shortcuts.toggleSidebar
                onTriggered: root.toggleSidebar()
            }
            AppMenuSeparator {}
            AppMenuItem {
                text: "Notifications"
                checkable: true
                checked: root.windowModel.notifier.isEnabled
                onTriggered: root.windowModel.notifier.isEnabled = !root.windowModel.notifier.isEnabled
            }
        }

        AppMenuBarItem {
            id: help

            text: "Help"
            position: 2
            onHoveredChanged: if (hovered) root.enter(help)
            onWalked: steps => root.walk(help, steps)
            onGivenUp: root.givenUp()

            AppMenuItem { text: "Keyboard Shortcuts"; keys: Shortcuts.listKeys; onTriggered: root.listKeys() }
            AppMenuItem {
                text: "Check for Updates…"
                enabled: root.windowModel.updates?.isConfigured ?? false
                onTriggered: root.windowModel.updates.checkForUpdates()
            }
            AppMenuItem { text: "Runtime Log"; onTriggered: root.openLog() }
        }
    }

    Shortcut { sequence: Shortcuts.newTask; onActivated: root.newTask() }
    Shortcut { sequence: Shortcuts.openProject; onActivated: root.windowModel.openProject() }
    Shortcut { sequence: Shortcuts.showCode; onActivated: root.showCode() }
    Shortcut { sequence: Shortcuts.showImagine; onActivated: root.showImagine() }
    Shortcut { sequence: Shortcuts.previousTask; onActivated: root.windowModel.selectPreviousTask() }
    Shortcut { sequence: Shortcuts.nextTask; onActivated: root.windowModel.selectNextTask() }
    Shortcut { sequence: Shortcuts.goToMessage; onActivated: root.goToMessage() }
    Shortcut { sequence: Shortcuts.changePane; onActivated: root.changePane() }
    Shortcut { sequence: Shortcuts.toggleSidebar; onActivated: root.toggleSidebar() }
    Shortcut { sequence: Shortcuts.goToMenus; onActivated: file.forceActiveFocus(Qt.ShortcutFocusReason) }
    Shortcut { sequence: Shortcuts.settings; onActivated: root.openSettings() }
    Shortcut { sequence: Shortcuts.listKeys; onActivated: root.listKeys() }
    // In every window and over every sheet; a key that is held down is not two answers.
    Shortcut { sequence: Shortcuts.quit; context: Qt.ApplicationShortcut; autoRepeat: false; onActivated: root.quit() }
    Shortcut {
        sequence: Shortcuts.stopAgent
        enabled: root.windowModel.conversation.isWorking
        onActivated: root.windowModel.conversation.stopWorking()
    }
}
