import QtQuick
import QtQuick.Templates as T
import Tessarin

// The focus of the keyboard: an accent line around the control, with a gap of the ground between, or inside it where a list or a card
// would cut it off. A focus that came by another way is seen as soon as keys are used.
Rectangle {
    id: root

    required property T.Control control
    property bool inside: false
    readonly property bool keysAreUsed: KeyboardUse.isOn // which has to be there before the key that leads here
    readonly property int reach: inside ? 0 : 2 * Theme.focusWidth

    anchors.fill: parent
    anchors.margins: -reach
    radius: Theme.radiusSmall + reach
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.accent
    visible: control.visualFocus || (control.activeFocus && keysAreUsed)
}
