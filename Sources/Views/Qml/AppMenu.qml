import QtQuick
import QtQuick.Templates as T

// A menu on a card, as wide as its widest entry. It goes at once: while it faded it would still take the next press, which is meant for
// another menu.
T.Menu {
    id: root

    required property string name

    signal walked(int steps) // by an arrow to the side

    margins: Theme.space6
    padding: Theme.space4
    overlap: 0
    implicitWidth: Math.max(Theme.menuMinimum, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: contentHeight + topPadding + bottomPadding

    contentItem: ListView {
        implicitWidth: contentItem.childrenRect.width
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
        Accessible.role: Accessible.PopupMenu
        Accessible.name: root.name
        Keys.onLeftPressed: root.walked(-1)
        Keys.onRightPressed: root.walked(1)
    }

    background: Item {
        SoftShadow {}

        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusMedium
            color: Theme.card
            border.width: Theme.hairline
            border.color: Theme.stroke
        }
    }

    enter: Transition { NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.durationShort; easing.type: Theme.easing } }
}
