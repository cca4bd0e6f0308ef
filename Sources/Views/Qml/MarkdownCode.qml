import QtQuick
import QtQuick.Templates as T
import Tessarin

// A block of code: its language and a copy button above, its own horizontal scroll below. One that goes on with the block before has no
// head of its own. A line that is in several blocks is wrapped.
BlockRow {
    id: root

    required property styledRuns content
    required property string language
    required property bool continued
    required property bool endless
    required property string separator
    required property int index
    required property int page
    required property TextPages pages

    Rectangle {
        width: parent.width
        height: view.y + view.height
        radius: root.continued ? 0 : Theme.radiusMedium
        color: Theme.sunken
        border.width: Theme.hairline
        border.color: Theme.stroke

        CodeHead {
            id: head

            width: parent.width
            visible: !root.continued
            language: root.language
            onCopy: PageActions.copy(root.pages.code(root.page, root.index))
        }

        Flickable {
            id: view

            x: Theme.space12
            y: root.continued ? 0 : head.height
            width: parent.width - 2 * Theme.space12
            height: code.height + Theme.space12
            contentWidth: code.width
            flickableDirection: Flickable.HorizontalFlick
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            activeFocusOnTab: contentWidth > width
            Accessible.role: Accessible.Pane
            Accessible.name: code.label
            Keys.onPressed: event => keys.press(event)
            T.ScrollBar.horizontal: ThinScrollBar {}

            ScrollKeys {
                id: keys

                view: view
            }

            SelectableText {
                id: code

                width: root.endless ? view.width : undefined
                wrapMode: root.endless ? TextEdit.WrapAnywhere : TextEdit.NoWrap
                leftToRight: true
                font: Theme.codeFont
                lineHeight: Theme.lineCode
                content: root.content
                separator: root.continued ? root.separator : "\n\n"
                label: root.language === "" ? "Code" : "Code, " + root.language
            }
        }

        ScrollFocus {
            view: view
            inset: Theme.space6
        }
    }
}
