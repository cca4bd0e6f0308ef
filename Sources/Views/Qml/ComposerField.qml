import QtQuick
import QtQuick.Templates as T
import Tessarin

// The text of the composer: it grows with its lines up to a limit and scrolls beyond. Return submits, Shift-Return adds a line.
Flickable {
    id: root

    property alias text: area.text

    signal submitted()

    function clear() {
        area.clear()
    }

    // At a place of the field, else where the cursor is.
    function insertAt(text, x, y) {
        const point = area.mapFromItem(root, x, y)
        area.insert(contains(Qt.point(x, y)) ? area.positionAt(point.x, point.y) : area.cursorPosition, text)
        area.forceActiveFocus()
    }

    function forceActiveFocus() {
        area.forceActiveFocus()
    }

    readonly property bool areaFocus: area.activeFocus

    height: Math.min(area.implicitHeight, Theme.composerTextMaximum)
    contentWidth: width
    contentHeight: area.height
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    T.ScrollBar.vertical: ThinScrollBar {}

    T.TextArea.flickable: T.TextArea {
        id: area

        implicitHeight: Math.max(contentHeight, Theme.lineBody) // an empty text is as high as its font
        leftPadding: Theme.space12 + Theme.space4
        rightPadding: leftPadding
        font: Theme.bodyFont
        color: Theme.text
        selectionColor: Theme.accentFill
        selectedTextColor: Theme.inkOnAccent
        placeholderText: "Ask your agent to build, debug, or explain…"
        wrapMode: TextEdit.Wrap
        textFormat: TextEdit.PlainText
        Accessible.name: "Message"
        onTextChanged: lines.renew()

        transform: Translate { y: -lines.drop }

        EditableLines {
            id: lines

            document: area.textDocument
            lineHeight: Theme.lineBody
        }

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
            y: lines.drop
            height: Theme.lineBody
            width: parent.width - area.leftPadding - area.rightPadding
            visible: area.length === 0 && area.preeditText === ""
            text: area.placeholderText
            font: area.font
            color: Theme.secondaryText
            Accessible.ignored: true
        }
    }

    // While an input method composes, the key is its own.
    function pressReturn(event) {
        event.accepted = (event.modifiers & Qt.ShiftModifier) === 0 && area.preeditText === ""
        if (event.accepted) {
            submitted()
        }
    }
}
