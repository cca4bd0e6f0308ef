pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// A window beside the main one, and gone with it.
Window {
    id: root

    required property WindowModel windowModel

    // Where a quit is asked about, when this window stands over the main one.
    property bool asksToQuit: false
    readonly property QuitAlert quitAlert: question.object as QuitAlert

    signal closed()

    // To the front, wherever it is; at first over the middle of the main window.
    function present() {
        if (!visible) {
            x = Math.max(Screen.virtualX, transientParent.x + (transientParent.width - width) / 2)
            y = Math.max(Screen.virtualY, transientParent.y + (transientParent.height - height) / 2)
        }
        show()
        raise()
        requestActivate()
    }

    width: Theme.settingsWidth
    height: Math.min(Theme.settingsHeight, Screen.desktopAvailableHeight - Theme.controlLarge)
    minimumWidth: Theme.settingsLeastWidth
    minimumHeight: Theme.settingsLeastHeight
    color: Theme.window
    onClosing: closed()

    Shortcut { sequences: ["Escape", Shortcuts.closeWindow]; onActivated: root.close() }

    // What changes behind the question may take the keys for itself, and a key that is meant for the question would press something there.
    onActiveFocusItemChanged: {
        if (active && quitAlert !== null && quitAlert.visible && !quitAlert.activeFocus) {
            quitAlert.forceActiveFocus(Qt.PopupFocusReason)
        }
    }

    LazyItem {
        id: question

        active: root.visible && root.asksToQuit && root.windowModel.quitting.isAsked

        sourceComponent: QuitAlert { quitting: root.windowModel.quitting }
    }
}
