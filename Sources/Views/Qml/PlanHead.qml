pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tessarin

// The line of the plan: how far it is, and a tessera for each step.
T.AbstractButton {
    id: root

    required property PlanListModel plan
    required property bool expanded

    implicitHeight: Theme.rowTool
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: if (enabled) clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    SystemSymbol {
        id: mark

        x: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        name: "checklist"
        color: Theme.secondaryText
    }

    Line {
        id: label

        anchors.left: mark.right
        anchors.leftMargin: Theme.spaceRow
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        font: Theme.calloutMediumFont
        Accessible.ignored: true
    }

    ListView {
        anchors.left: label.right
        anchors.leftMargin: Theme.space12
        anchors.right: disclosure.left
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        height: Theme.planTile
        orientation: ListView.Horizontal
        spacing: Theme.planTileGap
        interactive: false
        clip: true
        model: root.plan

        delegate: Rectangle {
            required property int tint

            width: Theme.planTile
            height: Theme.planTile
            radius: Theme.radiusTile
            color: tint === Tint.Secondary ? "transparent" : Theme.tint(tint)
            border.width: tint === Tint.Secondary ? Theme.hairline : 0
            border.color: Theme.strokeStrong
        }
    }

    Disclosure {
        id: disclosure

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        expanded: root.expanded
    }

    background: Rectangle {
        radius: Theme.radiusLarge
        color: root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
            radius: Theme.radiusLarge
        }
    }
}
