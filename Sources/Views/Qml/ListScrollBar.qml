import QtQuick

// The scroll bar of a list whose rows differ much in height. One that is attached to the list moves the list back whenever the list
// guesses its length anew, which brings other rows and another guess: that need not end, and no frame is drawn meanwhile. This one
// moves the list only while it is dragged.
ThinScrollBar {
    id: root

    required property ListView view

    parent: view
    anchors.top: parent.top
    anchors.bottom: parent.bottom
    anchors.right: parent.right
    orientation: Qt.Vertical
    active: view.moving
    size: view.visibleArea.heightRatio
    position: view.visibleArea.yPosition
    onPositionChanged: {
        if (pressed) {
            view.contentY = view.originY - view.topMargin + position * (view.topMargin + view.contentHeight + view.bottomMargin)
        }
    }
}
