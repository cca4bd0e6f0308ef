pragma ComponentBehavior: Bound

import QtQuick

// The place of one block: the gap above it, the lines of the quotes and the gutters of the lists in which it stands, the mark of its item.
// All of that stands at the side where its text begins.
Item {
    id: root

    required property int gap
    required property int listDepth
    required property int quoteDepth
    required property string marker
    required property bool rightToLeft
    readonly property real indent: quoteDepth * Theme.quoteIndent + listDepth * Theme.listIndent
    default property alias body: place.data

    height: place.y + place.childrenRect.height
    implicitWidth: indent + place.childrenRect.width

    Repeater {
        model: root.quoteDepth

        Rectangle {
            required property int index

            x: root.rightToLeft ? root.width - width - index * Theme.quoteIndent : index * Theme.quoteIndent
            y: root.gap === 0 ? 0 : place.y
            width: Theme.quoteLine
            height: place.height
            radius: width / 2
            color: Theme.stroke
        }
    }

    ListMark {
        x: root.rightToLeft ? place.width + Theme.space8 : place.x - width - Theme.space8
        y: place.y
        marker: root.marker
        LayoutMirroring.enabled: root.rightToLeft
        LayoutMirroring.childrenInherit: true
    }

    Item {
        id: place

        x: root.rightToLeft ? 0 : root.indent
        y: Theme.blockGap(root.gap)
        width: root.width - root.indent
        height: childrenRect.height
    }
}
