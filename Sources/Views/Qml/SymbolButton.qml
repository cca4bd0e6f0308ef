import QtQuick
import QtQuick.Templates as T

// A quiet button that is only a symbol. The tool tip is its name.
T.AbstractButton {
    id: root

    required property string symbol
    required property string toolTip
    property int symbolSize: Theme.symbolMedium

    implicitWidth: Theme.controlSmall
    implicitHeight: Theme.controlSmall
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : Theme.disabledOpacity
    Accessible.name: toolTip
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    SystemSymbol {
        anchors.centerIn: parent
        name: root.symbol
        size: root.symbolSize
        color: root.hovered || root.down ? Theme.text : Theme.secondaryText
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
        }
    }

    HoverTip {
        text: root.toolTip
        shown: root.hovered
    }
}
