import QtQuick

// The focus of the keyboard on a view that scrolls: an accent line inside its edge.
Rectangle {
    id: root

    required property Flickable view
    property real inset: 0

    parent: view.parent
    anchors.fill: view
    anchors.margins: -inset
    z: 1
    radius: Theme.radiusSmall
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.accent
    visible: Window.activeFocusItem === view
}
