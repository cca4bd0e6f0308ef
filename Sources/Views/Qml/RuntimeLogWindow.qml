import QtQuick
import Tessarin

// The window of the runtime log.
SideWindow {
    id: root

    title: "Runtime Log"
    width: Theme.logWidth
    height: Math.min(Theme.logHeight, Screen.desktopAvailableHeight - Theme.controlLarge)

    RuntimeLogView {
        anchors.fill: parent
        focus: true
        windowModel: root.windowModel
    }
}
