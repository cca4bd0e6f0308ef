import QtQuick

// The project in which the prompt will work.
Row {
    id: root

    required property string name

    leftPadding: Theme.space8
    height: Theme.controlSmall
    spacing: Theme.space6

    SystemSymbol {
        anchors.verticalCenter: parent.verticalCenter
        name: "folder"
        color: Theme.secondaryText
    }

    TipLine {
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, Theme.menuMinimum)
        text: root.name
        color: Theme.secondaryText
    }
}
