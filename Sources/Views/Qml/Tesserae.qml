pragma ComponentBehavior: Bound

import QtQuick

// The progress indicator: four tesserae, lit in turn. With reduced motion they stand still.
Grid {
    id: root

    required property bool running
    property int step

    columns: 2
    spacing: Theme.space2

    NumberAnimation on step {
        running: root.running && !Theme.reducedMotion
        from: 0
        to: 4
        duration: Theme.durationBeat
        loops: Animation.Infinite
    }

    Repeater {
        model: [0, 1, 3, 2]

        Rectangle {
            id: tile

            required property int modelData

            width: Theme.tile
            height: Theme.tile
            radius: Theme.radiusTile
            color: Theme.accent
            opacity: [1, 0.28, 0.42, 0.66][(tile.modelData - root.step + 8) % 4]

            Behavior on opacity { NumberAnimation { duration: Theme.durationShort } }
        }
    }
}
