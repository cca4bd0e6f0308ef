import QtQuick
import Tessarin

// The window of the settings.
SideWindow {
    id: root

    title: "Settings"

    SettingsView {
        anchors.fill: parent
        focus: true
        windowModel: root.windowModel
    }
}
