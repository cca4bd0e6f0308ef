import QtQuick

// The mark of a list item: a small square, or what stands for it.
Item {
    id: root

    required property string marker

    width: Theme.listIndent - Theme.space8
    height: Theme.lineBody
    visible: marker !== ""

    Rectangle {
        anchors.right: parent.right
        anchors.rightMargin: Theme.space4
        anchors.verticalCenter: parent.verticalCenter
        visible: root.marker === "•"
        width: Theme.listMark
        height: Theme.listMark
        radius: Theme.radiusTile
        color: Theme.secondaryText
    }

    Line {
        anchors.right: parent.right
        height: parent.height
        visible: root.marker !== "•"
        text: root.marker
        font: Theme.bodyFont
        color: Theme.secondaryText
    }
}
