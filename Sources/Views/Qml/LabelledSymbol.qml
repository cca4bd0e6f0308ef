import QtQuick

// A symbol and what it stands for.
Row {
    id: root

    required property string text
    required property string symbol

    spacing: Theme.space6

    SystemSymbol {
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        color: Theme.secondaryText
    }

    Line {
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        color: Theme.secondaryText
    }
}
