pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The text of an entry as it stands, in pieces that are laid out one by one.
BlockStack {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label
    property int lineHeight: Theme.lineBody
    property int wrapMode: TextEdit.Wrap
    property font font: Theme.bodyFont
    property color color: Theme.text
    property int alignment: TextEdit.AlignLeft

    Repeater {
        model: TextPages {
            entries: root.entries
            row: root.row
            format: TextPages.Plain
        }

        delegate: BlockStack {
            id: page

            required property BlockListModel blocks

            Repeater {
                model: page.blocks

                delegate: SelectableText {
                    label: root.label
                    lineHeight: root.lineHeight
                    wrapMode: root.wrapMode
                    horizontalAlignment: root.alignment
                    font: root.font
                    color: root.color
                }
            }
        }
    }
}
