import QtQuick
import Tessarin

// One step of the plan. A long one wraps.
Item {
    id: root

    required property string content
    required property string symbol
    required property int tint
    required property string status

    width: ListView.view ? ListView.view.width : 0
    height: Math.max(Theme.rowPlan, text.implicitHeight + Theme.space8)
    Accessible.role: Accessible.ListItem
    Accessible.name: content + ", " + status

    SystemSymbol {
        y: (Theme.rowPlan - height) / 2
        name: root.symbol
        color: Theme.tint(root.tint)
    }

    Prose {
        id: text

        x: Theme.symbolMedium + Theme.spaceRow
        y: Theme.space4
        width: parent.width - x
        text: root.content
        color: root.tint === Tint.Green ? Theme.secondaryText : Theme.text
    }
}
