import QtQuick
import QtQuick.Templates as T

// One half of the switch between the two sections of the window.
T.RadioButton {
    id: root

    required property string symbol
    required property bool current

    implicitHeight: Theme.controlSmall + Theme.space2
    focusPolicy: current || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    checked: current
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Row {
        anchors.centerIn: parent
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.current ? Theme.accent : Theme.secondaryText
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            font: root.current ? Theme.calloutMediumFont : Theme.calloutFont
            color: root.current ? Theme.text : Theme.secondaryText
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.current ? Theme.card : root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
        border.width: root.current ? Theme.hairline : 0
        border.color: Theme.stroke

        FocusRing {
            control: root
            inside: true
        }
    }
}
