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

        delegate: MarkdownPage {
            pages: textPages
            label: root.label
        }
    }
}
