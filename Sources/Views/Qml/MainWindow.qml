pragma ComponentBehavior: Bound

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

    Rectangle {
        width: Theme.sidebarIdeal
        height: parent.height
        color: Theme.sidebar
        visible: !content.active
    }

    LazyItem {
        id: content

        anchors.fill: parent
        focus: true
        active: root.windowModel.isReady

        sourceComponent: RootView {
            windowModel: root.windowModel
            onQuit: root.close()
        }
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
