import QtQuick
import QtQuick.Templates as T

// A button without a frame: symbol and text. `menu` marks one that opens a menu.
T.AbstractButton {
    id: root

    required property string symbol
    property bool menu: false
    property color textColor: Theme.text
    property color symbolColor: Theme.secondaryText

    implicitWidth: row.implicitWidth + 2 * Theme.space8
    implicitHeight: Theme.controlSmall
    font: Theme.calloutFont
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : Theme.disabledOpacity
    Accessible.name: text
    Accessible.description: menu ? "Menu" : ""
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Row {
        id: row

        anchors.verticalCenter: parent.verticalCenter
        x: Theme.space8
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.symbolColor
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            font: root.font
            color: root.textColor
            Accessible.ignored: true
        }

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.menu
            name: "chevron.down"
            size: Theme.symbolTiny
            color: Theme.secondaryText
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
        }
    }
}
