import QtQuick
import QtQuick.Templates as T

// The line of a tool card that opens and closes it.
T.AbstractButton {
    id: root

    required property string title
    required property string symbol
    required property string status
    required property int statusTint
    required property bool expandable
    required property bool expanded

    implicitHeight: Theme.rowTool
    focusPolicy: Qt.StrongFocus
    text: title
    Accessible.name: title + ", " + status
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    SystemSymbol {
        id: mark

        x: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        color: Theme.tint(root.statusTint)
    }

    Line {
        anchors.left: mark.right
        anchors.leftMargin: Theme.spaceRow
        anchors.right: word.left
        anchors.rightMargin: Theme.spaceRow
        anchors.verticalCenter: parent.verticalCenter
        text: root.title
        font: Theme.calloutMediumFont
        Accessible.ignored: true
    }

    Line {
        id: word

        anchors.right: disclosure.left
        anchors.rightMargin: Theme.spaceRow
        anchors.verticalCenter: parent.verticalCenter
        text: root.status
        font: Theme.captionFont
        color: Theme.secondaryText
        Accessible.ignored: true
    }

    Disclosure {
        id: disclosure

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        opacity: root.expandable ? 1 : 0
        expanded: root.expanded
    }

    background: Rectangle {
        radius: Theme.radiusMedium
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
            radius: Theme.radiusMedium
        }
    }
}
