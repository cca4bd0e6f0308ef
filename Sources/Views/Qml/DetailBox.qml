import QtQuick
import QtQuick.Templates as T

// A text that is read before something is decided: whole, selectable, scrolling in its box.
FocusScope {
    id: root

    required property string label
    property alias text: content.text

    implicitHeight: Math.max(Theme.detailBoxMinimum, Math.min(Theme.detailBoxMaximum, content.implicitHeight + 2 * Theme.space12))

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusMedium
        color: Theme.sunken
        border.width: Theme.hairline
        border.color: Theme.stroke
    }

    Flickable {
        id: view

        anchors.fill: parent
        anchors.margins: Theme.space12
        contentHeight: content.height
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        T.ScrollBar.vertical: ThinScrollBar {}

        TextEdit {
            id: content

            width: view.width
            focus: true
            readOnly: true
            selectByMouse: true
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.WrapAtWordBoundaryOrAnywhere
            font: Theme.calloutFont
            color: Theme.text
            selectionColor: Theme.accentFill
            selectedTextColor: Theme.inkOnAccent
            Accessible.role: Accessible.EditableText
            Accessible.name: root.label
            Accessible.readOnly: true
            Accessible.multiLine: true
            onTextChanged: view.contentY = 0
            onCursorRectangleChanged: {
                if (cursorRectangle.y < view.contentY)
                    view.contentY = cursorRectangle.y
                else if (cursorRectangle.y + cursorRectangle.height > view.contentY + view.height)
                    view.contentY = cursorRectangle.y + cursorRectangle.height - view.height
            }
        }
    }
}
