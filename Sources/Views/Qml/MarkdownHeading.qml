import QtQuick
import Tessarin

// A heading: the first two levels stand out by their size, the others by their weight.
BlockRow {
    id: root

    required property styledRuns content
    required property string label
    required property string lead
    required property string separator
    required property int level

    Accessible.role: Accessible.Heading
    Accessible.name: text.text

    SelectableText {
        id: text

        width: parent.width
        content: root.content
        label: root.label
        lead: root.lead
        separator: root.separator
        lineHeight: root.level <= 2 ? Theme.lineTitle : Theme.lineBody
        font: root.level <= 2 ? Theme.titleFont : Theme.bodyStrongFont
    }
}
