import QtQuick
import QtQuick.Templates as T

// The text of the generator: it grows with its lines up to a limit and scrolls beyond. Return submits, Shift-Return adds a line.
Rectangle {
    id: root

    property alias text: area.text
    readonly property real line: area.contentHeight / area.lineCount
    readonly property real padding: (Theme.controlLarge - line) / 2

    signal submitted()

    function clear() {
        area.clear()
    }

    function forceActiveFocus() {
        area.forceActiveFocus()
    }

    function pressReturn(event) {
        event.accepted = (event.modifiers & Qt.ShiftModifier) === 0
        if (event.accepted) {
            submitted()
        }
    }

    implicitHeight: Math.round(Math.min(area.lineCount, Theme.promptLines) * line + 2 * padding)
    radius: Theme.radiusSmall
    color: Theme.card
    border.width: area.activeFocus ? Theme.focusWidth : Theme.hairline
    border.color: area.activeFocus ? Theme.accent : Theme.strokeField

    Flickable {
        anchors.fill: parent
        anchors.topMargin: root.padding
        anchors.bottomMargin: root.padding
        contentWidth: width
        contentHeight: area.height
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        T.ScrollBar.vertical: ThinScrollBar {}

        T.TextArea.flickable: T.TextArea {
            id: area

            implicitHeight: contentHeight
            leftPadding: Theme.spaceRow
            rightPadding: Theme.spaceRow
            font: Theme.calloutFont
            color: Theme.text
            selectionColor: Theme.accentFill
            selectedTextColor: Theme.inkOnAccent
            placeholderText: "Describe what you want Grok to create…"
            wrapMode: TextEdit.Wrap
            textFormat: TextEdit.PlainText
            Accessible.name: "Prompt"
            Keys.onReturnPressed: event => root.pressReturn(event)
            Keys.onEnterPressed: event => root.pressReturn(event)
            Keys.onTabPressed: leave(true)
            Keys.onBacktabPressed: leave(false)

            // A text keeps these keys for itself, which would hold the focus of the keyboard for good.
            function leave(forward) {
                nextItemInFocusChain(forward).forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason)
            }

            Line {
                x: area.leftPadding
                width: parent.width - area.leftPadding - area.rightPadding
                visible: area.length === 0 && area.preeditText === ""
                text: area.placeholderText
                font: area.font
                color: Theme.secondaryText
                Accessible.ignored: true
            }
        }
    }
}
