pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The Markdown of an entry, page by page.
TextSelection {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label

    Repeater {
        model: TextPages {
            id: textPages

            entries: root.entries
            row: root.row
            format: TextPages.Markdown
        }

        delegate: LazyPage {
            id: page

            required property int index

            wanted: textPages.count <= Theme.pagesKept || index >= textPages.count - Theme.pagesAhead || root.isWhole
            kept: root.hasSelection

            sourceComponent: MarkdownPage {
                id: laidOut

                blocks: textPages.takeBlocks(page.index, laidOut)
                index: page.index
                pages: textPages
                label: root.label
            }
        }
    }
}
