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
        content: root.content
        label: root.label
        separator: root.separator
        lineHeight: Theme.lineCallout
        font: root.heading ? Theme.captionStrongFont : Theme.calloutFont
        color: root.heading ? Theme.secondaryText : Theme.text
    }

    // Else the text stands at the side where it begins.
    Binding {
        target: text
        property: "horizontalAlignment"
        value: root.alignment
        when: root.alignment !== 0
    }

    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        visible: !root.last
    }
}
