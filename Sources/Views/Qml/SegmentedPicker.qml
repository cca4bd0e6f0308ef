pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// One of a few: segments of equal width in a sunken track. Tab leads to the chosen one, the arrows choose the one beside it. It only says
// what is wanted: `current` shows what is so.
Rectangle {
    id: root

    required property string name
    required property var segments // each a text, or a record with a `text` and a `symbol`
    required property int current

    signal picked(int index)

    function pickBeside(steps) {
        const index = Math.max(0, Math.min(segments.length - 1, current + steps))
        picked(index)
        track.itemAt(index).forceActiveFocus(Qt.TabFocusReason)
    }

    implicitWidth: Theme.formatPickerWidth
    implicitHeight: Theme.controlHeight
    radius: Theme.radiusButton
    color: Theme.dark ? Theme.sunken : Theme.stroke
    opacity: enabled ? 1 : Theme.disabledOpacity
    Accessible.role: Accessible.Grouping
    Accessible.name: name
    Keys.onLeftPressed: pickBeside(-1)
    Keys.onUpPressed: pickBeside(-1)
    Keys.onRightPressed: pickBeside(1)
    Keys.onDownPressed: pickBeside(1)

    Row {
        anchors.fill: parent
        anchors.margins: Theme.space2

        Repeater {
            id: track

            model: root.segments

            Segment {
                id: segment

                required property var modelData
                required property int index

                width: parent ? parent.width / root.segments.length : 0
                height: parent ? parent.height : 0
                text: modelData.text ?? modelData
                symbol: modelData.symbol ?? ""
                chosen: root.current === index
                onPicked: root.picked(index)
            }
        }
    }
}
