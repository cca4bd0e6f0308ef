import QtQuick
import QtQuick.Templates as T

// One of a few to choose from.
T.RadioButton {
    id: root

    required property string symbol // may be empty
    required property bool chosen

    signal picked()

    focusPolicy: chosen || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    checked: chosen
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    onClicked: picked()

    Row {
        anchors.centerIn: parent
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: Theme.symbolSmall
            color: root.chosen ? Theme.text : Theme.secondaryText
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            font: root.chosen ? Theme.calloutMediumFont : Theme.calloutFont
            color: root.chosen ? Theme.text : Theme.secondaryText
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.chosen ? (Theme.dark ? Theme.stroke : Theme.card)
             : root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
        }
    }
}
