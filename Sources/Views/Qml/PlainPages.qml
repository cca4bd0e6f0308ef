pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The text of an entry as it stands, in pieces that are laid out one by one.
TextSelection {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label
    property int lineHeight: Theme.lineBody
    property int wrapMode: TextEdit.Wrap
    property font font: Theme.bodyFont
    property color color: Theme.text
    // Else each paragraph stands at the side where it begins.
    property bool centred: false

    TextPages {
        id: textPages

        entries: root.entries
        row: root.row
        format: TextPages.Plain
    }

    PageStack {
        count: textPages.count
        whole: root.isWhole
        kept: root.hasSelection

        delegate: BlockStack {
            id: page

            required property int index

            Repeater {
                model: textPages.takeBlocks(page.index, page)

                delegate: SelectableText {
                    required property bool continued

                    label: root.label
                    separator: continued ? "" : "\n"
                    lineHeight: root.lineHeight
                    wrapMode: root.wrapMode
                    horizontalAlignment: root.centred ? TextEdit.AlignHCenter : undefined
                    font: root.font
                    color: root.color
                }
            }
        }
    }
}
