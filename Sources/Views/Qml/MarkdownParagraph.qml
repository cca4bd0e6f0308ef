import QtQuick
import Tessarin

// A paragraph with its inline styles.
BlockRow {
    id: root

    required property styledRuns content
    required property string label
    required property string lead
    required property string separator

    SelectableText {
        width: parent.width
        content: root.content
        label: root.label
        lead: root.lead
        separator: root.separator
        lineHeight: Theme.lineBody
        color: root.quoteDepth > 0 ? Theme.secondaryText : Theme.text
    }
}
