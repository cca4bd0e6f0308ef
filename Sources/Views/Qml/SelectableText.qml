pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// Text that can be selected and copied, but not edited. A link is opened after it has been shown where it leads; the keyboard stops at
// each one.
TextEdit {
    id: root

    required property styledRuns content
    required property string label
    required property int lineHeight
    // For what is copied from several texts: what stands between the one before and this one, and before this one.
    property string separator: "\n"
    property string lead: ""
    // For code, which is never read from right to left.
    property bool leftToRight: false

    readOnly: true
    selectByMouse: true
    persistentSelection: true
    wrapMode: TextEdit.Wrap
    textFormat: TextEdit.PlainText
    font: Theme.bodyFont
    color: Theme.text
    selectionColor: Theme.accentFill
    selectedTextColor: Theme.inkOnAccent
    Accessible.role: Accessible.EditableText
    Accessible.name: label
    Accessible.readOnly: true
    Accessible.multiLine: true
    onLinkActivated: link => PageActions.openLink(link)

    transform: Translate { y: -styled.drop }

    StyledText {
        id: styled

        document: root.textDocument
        content: root.content
        lineHeight: root.lineHeight
        leftToRight: root.leftToRight
        fixedFamily: Theme.fixedFamily
        fixedSize: Theme.sizeCallout
        linkColor: Theme.accent
        codeGround: Theme.inlineCode
        keywordColor: Theme.codeKeyword
        literalColor: Theme.codeText
        numberColor: Theme.codeNumber
        commentColor: Theme.secondaryText
    }

    HoverHandler {
        id: pointer

        cursorShape: root.hoveredLink === "" ? Qt.IBeamCursor : Qt.PointingHandCursor
    }

    // The line where the pointer has come upon a link.
    Item {
        id: pointed

        HoverTip {
            text: root.hoveredLink
            shown: root.hoveredLink !== ""
            delay: 0
        }
    }

    onHoveredLinkChanged: {
        const point = pointer.point.position
        const line = positionToRectangle(positionAt(point.x, point.y))
        pointed.x = point.x
        pointed.y = line.y
        pointed.height = line.height
    }

    Repeater {
        model: styled.links

        TextLinkSpot { text: root }
    }
}
