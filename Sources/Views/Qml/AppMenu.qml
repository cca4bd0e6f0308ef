import QtQuick
import QtQuick.Templates as T

// A menu on a card, as wide as its widest entry.
T.Menu {
    id: root

    required property string name

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
    exit: Transition { NumberAnimation { property: "opacity"; from: 1; to: 0; duration: Theme.durationShort; easing.type: Theme.easing } }
}
