import QtQuick
import Tessarin

// One cell of a table.
Item {
    id: root

    required property int index
    required property styledRuns content
    required property int alignment
    required property bool heading
    required property bool last
    required property string label
    required property string separator

    implicitWidth: Math.min(Theme.tableCellMaximum, Math.ceil(text.implicitWidth)) + 2 * Theme.space12
    implicitHeight: text.height + Theme.space12

    SelectableText {
        id: text

        x: Theme.space12
        y: Theme.space6
        width: root.width - 2 * Theme.space12
        horizontalAlignment: root.alignment === 0 ? undefined : root.alignment // else at the side where the text begins
        content: root.content
        label: root.label
        separator: root.separator
        lineHeight: Theme.lineCallout
        font: root.heading ? Theme.captionStrongFont : Theme.calloutFont
        color: root.heading ? Theme.secondaryText : Theme.text
    }

    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        visible: !root.last
    }
}
