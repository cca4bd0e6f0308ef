pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Tessarin

// A table: a quiet heading row, hairlines between rows, no vertical lines. One that is wider than the column has its own horizontal scroll.
BlockRow {
    id: root

    required property tableCells table
    required property string label

    Rectangle {
        width: parent.width
        height: view.height
        radius: Theme.radiusMedium
        color: "transparent"
        border.width: Theme.hairline
        border.color: Theme.stroke

        Flickable {
            id: view

            width: parent.width
            height: grid.implicitHeight
            contentWidth: grid.width
            flickableDirection: Flickable.HorizontalFlick
            boundsBehavior: Flickable.StopAtBounds
            clip: contentWidth > width
            activeFocusOnTab: contentWidth > width
            Accessible.role: Accessible.Pane
            Accessible.name: "Table"
            Keys.onPressed: event => keys.press(event)
            T.ScrollBar.horizontal: ThinScrollBar {}

            ScrollKeys {
                id: keys

                view: view
            }

            GridLayout {
                id: grid

                width: Math.max(view.width, implicitWidth)
                columns: root.table.columns
                columnSpacing: 0
                rowSpacing: 0

                Repeater {
                    model: root.table.count

                    TableCell {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        content: root.table.cell(index)
                        alignment: root.table.alignment(index % root.table.columns)
                        heading: index < root.table.columns
                        separator: index === 0 ? "\n\n" : index % root.table.columns === 0 ? "\n" : "\t"
                        last: index >= root.table.count - root.table.columns
                        label: root.label
                    }
                }
            }
        }

        ScrollFocus { view: view }
    }
}
