import QtQuick
import QtQuick.Templates as T

// The round button at the end of the composer: send, or stop while an agent works.
T.AbstractButton {
    id: root

    required property bool working
    readonly property string name: working ? "Stop agent" : "Send"

    implicitWidth: Theme.sendButton
    implicitHeight: Theme.sendButton
    focusPolicy: Qt.StrongFocus
    Accessible.name: name
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    SystemSymbol {
        anchors.centerIn: parent
        name: root.working ? "stop.fill" : "arrow.up"
        size: root.working ? Theme.symbolSmall : Theme.symbolMedium
        color: root.working ? Theme.text : root.enabled ? Theme.inkOnAccent : Theme.secondaryText
    }

    background: Rectangle {
        radius: height / 2
        color: root.working ? (root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent")
            : !root.enabled ? Theme.pressed
            : root.down ? Theme.accentFillPressed : root.hovered ? Theme.accentFillHover : Theme.accentFill
        border.width: root.working ? Theme.hairline : 0
        border.color: Theme.strokeField

        FocusRing {
            control: root
            radius: height / 2
        }
    }

    HoverTip {
        text: root.name
        shown: root.hovered
    }
}
