pragma ComponentBehavior: Bound

import Qt.labs.qmlmodels
import QtQuick
import Tessarin

// A few thousand characters of Markdown as blocks.
BlockStack {
    id: root

    required property BlockListModel blocks
    required property int index
    required property TextPages pages
    required property string label

    Repeater {
        model: root.blocks

        delegate: DelegateChooser {
            role: "kind"

            DelegateChoice { roleValue: BlockKind.Paragraph; MarkdownParagraph { label: root.label } }
            DelegateChoice { roleValue: BlockKind.Heading; MarkdownHeading { label: root.label } }
            DelegateChoice { roleValue: BlockKind.Code; MarkdownCode { pages: root.pages; page: root.index } }
            DelegateChoice { roleValue: BlockKind.Table; MarkdownTable { label: root.label } }
            DelegateChoice { roleValue: BlockKind.Rule; MarkdownRule {} }
        }
    }
}
