import QtQuick
import QtQuick.Templates as T

// The text button in its two weights.
T.Button {
    id: root

    property bool prominent: false
    property bool destructive: false

    readonly property bool isFilled: prominent || destructive

    implicitWidth: Math.ceil(label.implicitWidth) + leftPadding + rightPadding
    implicitHeight: Theme.controlHeight
    leftPadding: Theme.space12 + Theme.space2
    rightPadding: leftPadding
    opacity: enabled ? 1 : Theme.disabledOpacity
    font: Theme.calloutMediumFont
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    Line {
        id: label

        anchors.fill: parent
        anchors.leftMargin: root.leftPadding
        anchors.rightMargin: root.rightPadding
        horizontalAlignment: Text.AlignHCenter
        text: root.text
        font: root.font
        color: root.destructive ? Theme.inkOnRed : root.prominent ? Theme.inkOnAccent : Theme.text
        Accessible.ignored: true
    }

    HoverTip {
        text: root.text
        shown: root.hovered && label.truncated
    }

    background: Rectangle {
        radius: Theme.radiusButton
        color: root.destructive ? (root.hovered ? Theme.redFillHover : Theme.redFill)
             : !root.prominent ? Theme.card : root.down ? Theme.accentFillPressed : root.hovered ? Theme.accentFillHover : Theme.accentFill
        border.width: root.isFilled ? 0 : Theme.hairline
        border.color: Theme.stroke

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: root.isFilled ? "transparent" : root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
        }

        FocusRing {
            control: root
            radius: Theme.radiusButton + reach
        }
    }
}
