import QtQuick
import QtQuick.Templates as T

// A setting that is on or off, its text at the left and the switch at the far end. A press only says what is wanted: it shows what is so.
T.CheckBox {
    id: root

    required property bool isOn

    signal switched(bool isOn)

    implicitWidth: label.implicitWidth + Theme.space12 + Theme.switchWidth
    implicitHeight: Theme.controlHeight
    font: Theme.calloutFont
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : Theme.disabledOpacity
    checked: isOn
    nextCheckState: () => checkState
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
    Accessible.onToggleAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    onClicked: switched(!isOn)

    Line {
        id: label

        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, root.width - Theme.space12 - Theme.switchWidth)
        text: root.text
        font: root.font
        Accessible.ignored: true
    }

    Rectangle {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: Theme.switchWidth
        height: Theme.switchHeight
        radius: height / 2
        color: root.isOn ? Theme.accentFill : Theme.sunken
        border.width: root.isOn ? 0 : Theme.hairline
        border.color: Theme.strokeStrong

        Rectangle {
            readonly property int inset: (Theme.switchHeight - Theme.switchKnob) / 2

            x: root.isOn ? parent.width - width - inset : inset
            y: inset
            width: Theme.switchKnob
            height: Theme.switchKnob
            radius: height / 2
            color: root.isOn ? Theme.inkOnAccent : Theme.strokeStrong

            Behavior on x { NumberAnimation { duration: Theme.durationShort; easing.type: Theme.easing } }
        }

        FocusRing {
            control: root
            radius: height / 2
        }
    }
}
