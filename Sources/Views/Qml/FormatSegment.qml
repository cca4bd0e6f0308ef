import QtQuick
import QtQuick.Templates as T

// One of the formats to choose from.
T.AbstractButton {
    id: root

    required property int format
    required property string symbol
    required property bool chosen

    signal picked()

    focusPolicy: chosen || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: chosen
    Accessible.onPressAction: picked()
    Accessible.onToggleAction: picked()
    onClicked: picked()

    Row {
        anchors.centerIn: parent
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
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
