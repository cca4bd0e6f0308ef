import QtQuick

// One section of the settings: a heading, and a card of rows.
Column {
    id: root

    required property string heading
    default property alias rows: body.data

    spacing: Theme.space8
    Accessible.role: Accessible.Grouping
    Accessible.name: heading

    HeadingLine {
        x: Theme.space4
        text: root.heading
        font: Theme.calloutStrongFont
    }

    Rectangle {
        width: parent.width
        height: body.height + 2 * body.y
        radius: Theme.radiusLarge
        color: Theme.card
        border.width: Theme.hairline
        border.color: Theme.stroke

        Column {
            id: body

            x: Theme.spaceCard
            y: Theme.spaceCard
            width: parent.width - 2 * x
            spacing: Theme.space8
        }
    }
}
