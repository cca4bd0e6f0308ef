pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

// The slim bar of menus. F10 leads there by keyboard.
T.MenuBar {
    id: root

    required property bool sidebarShown

    signal newTask()
    signal openProject()
    signal toggleSidebar()
    signal showShortcuts()
    signal quit()

    implicitHeight: Theme.menuBarHeight
    leftPadding: Theme.space8

    contentItem: Row {
        Repeater { model: root.contentModel }
    }

    delegate: AppMenuBarItem {}

    background: Rectangle {
        color: Theme.sidebar

        Hairline {
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }

    AppMenu {
        title: "File"
        name: title

        AppMenuItem { text: "New Task"; keys: newTaskKeys.nativeText; onTriggered: root.newTask() }
        AppMenuItem { text: "Open Project…"; keys: openProjectKeys.nativeText; onTriggered: root.openProject() }
        AppMenuSeparator {}
        AppMenuItem { text: "Quit"; keys: quitKeys.nativeText; onTriggered: root.quit() }
    }

    AppMenu {
        title: "View"
        name: title

        AppMenuItem {
            text: root.sidebarShown ? "Hide Sidebar" : "Show Sidebar"
            keys: toggleKeys.nativeText
            onTriggered: root.toggleSidebar()
        }
    }

    AppMenu {
        title: "Help"
        name: title

        AppMenuItem { text: "Keyboard Shortcuts"; keys: shortcutKeys.nativeText; onTriggered: root.showShortcuts() }
    }

    Shortcut { id: newTaskKeys; sequence: "Ctrl+N"; onActivated: root.newTask() }
    Shortcut { id: openProjectKeys; sequence: "Ctrl+O"; onActivated: root.openProject() }
    Shortcut { id: quitKeys; sequence: "Ctrl+Q"; onActivated: root.quit() }
    Shortcut { id: toggleKeys; sequence: "F9"; onActivated: root.toggleSidebar() }
    Shortcut { id: shortcutKeys; sequence: "Ctrl+?"; onActivated: root.showShortcuts() }
    Shortcut { sequence: "F10"; onActivated: root.itemAt(0).forceActiveFocus(Qt.ShortcutFocusReason) }
}
