import QtQuick
import QtQuick.Templates as T

// What comes over the window and holds everything else until it is answered. What in it has `focus` is given the keys at once, not only
// when it has come in.
T.Dialog {
    id: root

    required property real sheetHeight

    anchors.centerIn: parent
    parent: T.Overlay.overlay
    modal: true
    focus: true
    padding: Theme.space18
    width: parent !== null ? Math.min(Theme.sheetWidth, parent.width - 2 * Theme.space12) : Theme.sheetWidth
    height: sheetHeight + topPadding + bottomPadding
    closePolicy: T.Popup.CloseOnEscape
    Component.onCompleted: open()

    T.Overlay.modal: Rectangle { color: Theme.scrim }

    background: Item {
        SoftShadow { high: true }

        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusExtraLarge
            color: Theme.window
            border.width: Theme.hairline
            border.color: Theme.stroke
        }
    }

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.durationMedium; easing.type: Theme.easing }
        NumberAnimation { property: "scale"; from: 0.98; to: 1; duration: Theme.durationMedium; easing.type: Theme.easing }
    }
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.durationMedium; easing.type: Theme.easing } }
}
