pragma ComponentBehavior: Bound

import QtQuick

// The place of one block: the gap above it, the lines of the quotes and the gutters of the lists in which it stands, the mark of its item.
Item {
    id: root

    required property int gap
    required property int listDepth
    required property int quoteDepth
    required property string marker
    default property alias body: place.data

    height: place.y + place.childrenRect.height
    implicitWidth: place.x + place.childrenRect.width

    Repeater {
        model: root.quoteDepth

        Rectangle {
            required property int index

            x: index * Theme.quoteIndent
            y: root.gap === 0 ? 0 : place.y
            width: Theme.quoteLine
            height: place.height
            radius: width / 2
            color: Theme.stroke
        }
    }

    ListMark {
        anchors.right: place.left
        anchors.rightMargin: Theme.space8
        y: place.y
        marker: root.marker
    }

    Item {
        id: place

        x: root.quoteDepth * Theme.quoteIndent + root.listDepth * Theme.listIndent
        y: Theme.blockGap(root.gap)
        width: root.width - x
        height: childrenRect.height
    }
}
