import QtQuick
import Tessarin

// The window of the settings, beside the main window and gone with it.
Window {
    id: root

    required property WindowModel windowModel

    signal closed()
    signal quit()

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

    title: "Settings"
    width: Theme.settingsWidth
    height: Math.min(Theme.settingsHeight, Screen.desktopAvailableHeight - Theme.controlLarge)
    minimumWidth: Theme.settingsLeastWidth
    minimumHeight: Theme.settingsLeastHeight
    color: Theme.window
    onClosing: closed()

    SettingsView {
        anchors.fill: parent
        focus: true
        windowModel: root.windowModel
    }

    Shortcut { sequences: ["Escape", Shortcuts.closeSettings]; onActivated: root.close() }
    Shortcut { sequence: Shortcuts.quit; onActivated: root.quit() }
}
