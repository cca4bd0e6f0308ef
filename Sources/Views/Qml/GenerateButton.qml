import QtQuick
import QtQuick.Templates as T

// The prominent button of the generator: generate, or stop while a generation runs.
T.AbstractButton {
    id: root

    required property bool working
    readonly property string name: working ? "Stop generation" : "Generate"

    implicitWidth: row.width + 2 * Theme.space12 + Theme.space8
    implicitHeight: Theme.controlLarge
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : Theme.disabledOpacity
    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Row {
        id: row

        anchors.centerIn: parent
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.working ? "stop.fill" : "wand.and.stars"
            size: Theme.symbolSmall
            color: Theme.inkOnAccent
        }

        Line {
            anchors.verticalCenter: parent.verticalCenter
            visible: !root.working
            text: root.name
            font: Theme.calloutMediumFont
            color: Theme.inkOnAccent
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.radiusButton
        color: root.down ? Theme.accentFillPressed : root.hovered ? Theme.accentFillHover : Theme.accentFill

        FocusRing {
            control: root
            radius: Theme.radiusButton + reach
        }
    }

    HoverTip {
        text: root.working ? root.name : ""
        shown: root.hovered
    }
}
