import QtQuick

// The mark of a list item: a small square, or what stands for it.
Item {
    id: root

    required property string marker

    width: Theme.listIndent - Theme.space8
    height: Theme.lineBody
    visible: marker !== ""
    Accessible.role: isTask ? Accessible.StaticText : Accessible.NoRole
    Accessible.name: isDone ? "Done" : "To do"
    Accessible.ignored: !isTask

    readonly property bool isDone: marker === "☑"
    readonly property bool isTask: isDone || marker === "☐"

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

    Rectangle {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isTask
        width: Theme.taskMark
        height: Theme.taskMark
        radius: Theme.space4
        color: root.isDone ? Theme.accentFill : "transparent"
        border.width: root.isDone ? 0 : Theme.hairline
        border.color: Theme.strokeStrong

        SystemSymbol {
            anchors.centerIn: parent
            visible: root.isDone
            name: "checkmark"
            size: Theme.symbolTiny
            color: Theme.inkOnAccent
        }
    }

    Line {
        anchors.right: parent.right
        height: parent.height
        visible: root.marker !== "•" && !root.isTask
        text: root.marker
        font: Theme.bodyFont
        color: Theme.secondaryText
    }
}
