pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The Markdown of an entry, page by page.
TextSelection {
    id: root

    required property EntryListModel entries
    required property int row
    required property string label

    TextPages {
        id: textPages

        entries: root.entries
        row: root.row
        format: TextPages.Markdown
    }

    PageStack {
        count: textPages.count
        whole: root.isWhole
        kept: root.hasSelection

        delegate: MarkdownPage {
            id: page

            blocks: textPages.takeBlocks(page.index, page)
            pages: textPages
            label: root.label
        }
    }
}
