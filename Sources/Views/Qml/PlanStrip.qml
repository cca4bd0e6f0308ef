pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The agent's plan. Closed, it is one line with a tessera for each step; open, it lists the steps.
Rectangle {
    id: root

    required property PlanListModel plan
    required property string label
    required property real most
    property bool expanded: false

    implicitHeight: head.height + (expanded ? list.height + Theme.space8 : 0)
    radius: Theme.radiusLarge
    color: Theme.sunken
    border.width: Theme.hairline
    border.color: Theme.stroke

    PlanHead {
        id: head

        width: parent.width
        text: root.label
        plan: root.plan
        expanded: root.expanded
        onClicked: root.expanded = !root.expanded
    }

    LazyItem {
        id: list

        anchors.top: head.bottom
        x: Theme.space12
        width: parent.width - 2 * Theme.space12
        active: root.expanded

        sourceComponent: ListView {
            id: steps

            // A list without height has no rows to measure, so it begins with the least that they need.
            implicitHeight: Math.min(Math.max(contentHeight, count * Theme.rowPlan), root.most)
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: contentHeight > height
            keyNavigationEnabled: false
            model: root.plan
            Keys.onPressed: event => keys.press(event)
            Accessible.role: Accessible.List
            Accessible.name: root.label

            delegate: PlanStep {}

            ListScrollBar { view: steps }

            ScrollKeys {
                id: keys

                view: steps
            }

            ScrollFocus {
                parent: steps.parent
                view: steps
            }
        }
    }
}
