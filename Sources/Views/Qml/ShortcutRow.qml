import QtQuick

// What some keys do, and the keys. A screen reader gets both as one sentence.
Item {
    id: root

    required property string does
    required property string keys

    height: Theme.controlTiny
    Accessible.role: Accessible.StaticText
    Accessible.name: does + ": " + keys

    Line {
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, parent.width - shown.width - Theme.space8)
        text: root.does
        Accessible.ignored: true
    }

    Line {
        id: shown

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: root.keys
        font: Theme.captionFont
        color: Theme.secondaryText
        Accessible.ignored: true
    }
}
