import QtQuick

// A coloured dot and the state's name.
Row {
    id: root

    required property string label
    required property color tint
    property int size: Theme.dot

    spacing: Theme.space6

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: root.size
        height: root.size
        radius: root.size / 2
        color: root.tint
    }

    Line {
        anchors.verticalCenter: parent.verticalCenter
        text: root.label
        font: Theme.captionFont
        color: Theme.secondaryText
    }
}
