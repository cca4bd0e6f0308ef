import QtQuick
import Tessarin

// The window about updates, as high as what it says, and high enough for a question that stands over it. One that nobody asked for comes
// without taking the keys from where they are going.
SideWindow {
    id: root

    readonly property UpdateFlow flow: windowModel.updateFlow
    // Read by the platform of Qt when the window is first shown.
    readonly property bool _q_showWithoutActivating: flow.isAutomatic

    readonly property real leastHeight: Math.max(view.implicitHeight, quitAlert !== null ? quitAlert.height + 2 * Theme.space12 : 0)
    property bool hasAppeared: false
    property real heightBefore: 0

    function appear() {
        x = transientParent.x + (transientParent.width - width) / 2
        y = transientParent.y + (transientParent.height - height) / 2
        show()
    }

    title: "Software Update"
    width: Theme.updateWidth
    minimumWidth: width
    maximumWidth: width
    height: leastHeight
    minimumHeight: leastHeight
    maximumHeight: leastHeight
    onClosed: flow.close()
    // It grows around its middle, wherever that is.
    onHeightChanged: {
        if (visible) {
            y = Math.max(Screen.virtualY, y + (heightBefore - height) / 2)
        }
        heightBefore = height
    }
    Component.onCompleted: {
        if (flow.isAutomatic) {
            appear()
        } else {
            present()
        }
        hasAppeared = true
    }

    Connections {
        target: root.flow

        function onBroughtForward() { root.present() }

        // What is being installed goes on when its window is closed, and its outcome is told.
        function onChanged() {
            if (root.flow.isShown && !root.visible && root.hasAppeared) {
                root.appear()
            }
        }
    }

    UpdateView {
        id: view

        width: parent.width
        focus: true
        flow: root.flow
        updates: root.windowModel.updates
        onDone: root.close()
    }
}
