import QtQuick
import Tessarin

// The window. Its grounds are there with the first frame; what stands on them comes when the stored tasks have been read.
Window {
    id: root

    required property WindowModel windowModel

    minimumWidth: 980
    minimumHeight: 640
    title: "tessarin"
    color: Theme.window
    onClosing: close => close.accepted = windowModel.quitting.mayClose()

    Rectangle {
        width: Theme.sidebarIdeal
        height: parent.height
        color: Theme.sidebar
        visible: content.item === null
    }

    // By its address, so that not a single type of what it shows is loaded before the first frame.
    Loader {
        id: content

        readonly property bool wanted: root.windowModel.isReady

        anchors.fill: parent
        focus: true
        onWantedChanged: setSource("RootView.qml", { windowModel: root.windowModel })
    }

    Binding {
        target: Theme
        property: "dark"
        value: root.windowModel.appearance.isDark
    }

    Binding {
        target: Theme
        property: "reducedMotion"
        value: root.windowModel.appearance.hasReducedMotion
    }
}
