import QtQuick
import QtQuick.Templates as T

// A title in the bar of menus, with its menu. A press opens or closes it; the arrows lead to the titles beside it.
T.AbstractButton {
    id: root

    required property int position
    readonly property bool menu: true
    readonly property bool isOpen: popup.visible
    // Whether the pointer has opened it by coming here, so that the press which was meant to open it does not close it.
    property bool isFresh: false
    default property alias entries: popup.contentData

    signal walked(int steps)
    signal givenUp()

    // With that entry chosen, or none for -1.
    function open(entry) {
        popup.open()
        popup.currentIndex = entry
    }

    function close() {
        popup.close()
    }

    implicitWidth: label.implicitWidth + 2 * Theme.spaceRow
    implicitHeight: Theme.menuBarHeight - Theme.hairline
    font: Theme.calloutFont
    focusPolicy: Qt.NoFocus
    Accessible.name: text
    Accessible.description: "Menu"
    Accessible.onPressAction: open(-1)
    Keys.onDownPressed: open(0)
    Keys.onReturnPressed: open(0)
    Keys.onEnterPressed: open(0)
    Keys.onLeftPressed: walked(-1)
    Keys.onRightPressed: walked(1)
    Keys.onEscapePressed: givenUp()
    onPressed: {
        if (!isOpen) {
            open(-1)
        } else if (!isFresh) {
            close()
        }
        isFresh = false
    }

    Line {
        id: label

        anchors.fill: parent
        horizontalAlignment: Text.AlignHCenter
        text: root.text
        font: root.font
        color: root.isOpen || root.activeFocus || root.hovered ? Theme.text : Theme.secondaryText
        Accessible.ignored: true
    }

    AppMenu {
        id: popup

        y: root.height
        name: root.text
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent
        onWalked: steps => root.walked(steps)
    }

    background: Item {
        Rectangle {
            anchors.fill: parent
            anchors.margins: Theme.space4 - Theme.hairline
            anchors.leftMargin: 0
            anchors.rightMargin: 0
            radius: Theme.radiusSmall
            color: root.down || root.isOpen ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
            border.width: root.activeFocus ? Theme.focusWidth : 0
            border.color: Theme.accent
        }
    }
}
