import QtQuick

// How far something has come, from 0 to 1.
Rectangle {
    id: root

    required property string name
    required property real progress

    implicitHeight: Theme.progressLine
    radius: height / 2
    color: Theme.sunken
    border.width: Theme.hairline
    border.color: Theme.strokeStrong
    Accessible.role: Accessible.ProgressBar
    Accessible.name: name

    Rectangle {
        width: Math.max(parent.height, root.progress * parent.width)
        height: parent.height
        radius: parent.radius
        color: Theme.accentFill
    }
}
