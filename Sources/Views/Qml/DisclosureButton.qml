import QtQuick
import QtQuick.Templates as T

// A line that opens and closes what stands below it: symbol, text, and the mark behind the text.
T.AbstractButton {
    id: root

    required property string symbol
    required property bool expanded

    implicitWidth: row.implicitWidth + 2 * Theme.space8
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Row {
        id: row

        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.space8

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.hovered ? Theme.text : Theme.secondaryText
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            color: root.hovered ? Theme.text : Theme.secondaryText
            Accessible.ignored: true
        }

        Disclosure {
            anchors.verticalCenter: parent.verticalCenter
            expanded: root.expanded
        }
    }

    background: Item {
        FocusRing {
            control: root
            inside: true
            anchors.leftMargin: -Theme.space6
        }
    }
}
