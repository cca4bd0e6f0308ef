import QtQuick
import QtQuick.Templates as T

// One entry of a menu: symbol, title, and the keys that do the same. One that switches something on and off is `checkable`, has no keys,
// and bears a mark while it is on.
T.MenuItem {
    id: root

    property string symbol: ""
    property color symbolColor: Theme.secondaryText
    property bool current: false
    property string keys: ""

    width: parent ? parent.width : implicitWidth
    implicitWidth: Math.ceil(title.implicitWidth) + title.x + Theme.space12 + (checkable ? Theme.symbolSmall + Theme.space12 : 0) + (keys === "" ? 0 : Math.ceil(hint.implicitWidth) + Theme.space24)
    implicitHeight: Theme.rowMenu
    opacity: enabled ? 1 : Theme.disabledOpacity
    Accessible.name: text
    // Readers say nothing of an entry that is not checked.
    Accessible.description: !checkable ? "" : checked ? "On" : "Off"
    // What is triggered may make the entries anew, and then this one stands in no menu.
    Accessible.onPressAction: {
        const owner = menu
        if (enabled) {
            triggered()
            owner.dismiss()
        }
    }

    SystemSymbol {
        id: mark

        x: Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        visible: root.symbol !== ""
        size: Theme.symbolSmall
        color: root.highlighted && root.symbolColor === Theme.secondaryText ? Theme.text : root.symbolColor
    }

    Line {
        id: title

        x: root.symbol === "" ? Theme.space8 : mark.x + mark.width + Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        font: root.current ? Theme.calloutMediumFont : Theme.calloutFont
        Accessible.ignored: true
    }

    Line {
        id: hint

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        text: root.keys
        font: Theme.captionFont
        color: Theme.secondaryText
        Accessible.ignored: true
    }

    SystemSymbol {
        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        name: "checkmark"
        visible: root.checkable && root.checked
        size: Theme.symbolSmall
        color: Theme.accent
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.highlighted ? Theme.accentTint : "transparent"
    }
}
