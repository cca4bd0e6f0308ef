import QtQuick
import QtQuick.Templates as T

// The title of a menu in the bar.
T.MenuBarItem {
    id: root

    implicitWidth: label.implicitWidth + 2 * Theme.spaceRow
    implicitHeight: Theme.menuBarHeight - Theme.hairline
    font: Theme.calloutFont
    Accessible.name: text
    Accessible.onPressAction: menu.open()
    Keys.onDownPressed: menu.open()

    Line {
        id: label

        anchors.fill: parent
        horizontalAlignment: Text.AlignHCenter
        text: root.text
        font: root.font
        color: root.highlighted || root.hovered ? Theme.text : Theme.secondaryText
        Accessible.ignored: true
    }

    background: Item {
        Rectangle {
            anchors.fill: parent
            anchors.margins: Theme.space4 - Theme.hairline
            anchors.leftMargin: 0
            anchors.rightMargin: 0
            radius: Theme.radiusSmall
            color: root.down || root.highlighted ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
            border.width: root.visualFocus ? Theme.focusWidth : 0
            border.color: Theme.accent
        }
    }
}
