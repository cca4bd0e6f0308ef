import QtQuick
import Tessarin

// Text that can be selected and copied, but not edited. A link is opened after it has been shown where it leads.
TextEdit {
    id: root

    required property styledRuns content
    required property string label
    required property int lineHeight

    readOnly: true
    selectByMouse: true
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
        fixedFamily: Theme.fixedFamily
        fixedSize: Theme.sizeCallout
        linkColor: Theme.accent
        codeGround: Theme.inlineCode
        keywordColor: Theme.codeKeyword
        literalColor: Theme.codeText
        numberColor: Theme.codeNumber
        commentColor: Theme.secondaryText
    }

    HoverHandler { cursorShape: root.hoveredLink === "" ? Qt.IBeamCursor : Qt.PointingHandCursor }

    HoverTip {
        text: root.hoveredLink
        shown: root.hoveredLink !== ""
        delay: 0
    }
}
