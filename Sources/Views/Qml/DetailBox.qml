import QtQuick
import QtQuick.Templates as T
import Tessarin

// A text that is read before something is decided: whole, selectable, scrolling in its box.
FocusScope {
    id: root

    required property string label
    required property styledRuns content

    implicitHeight: Math.max(Theme.detailBoxMinimum, Math.min(Theme.detailBoxMaximum, detail.implicitHeight + 2 * Theme.space12))

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusMedium
        color: Theme.sunken
        border.width: Theme.hairline
        border.color: Theme.stroke
    }

    ScrollKeys {
        id: keys

        view: view
    }

    Flickable {
        id: view

        anchors.fill: parent
        anchors.margins: Theme.space12
        contentHeight: detail.height
        boundsBehavior: Flickable.StopAtBounds
        clip: true

        // In the margin, so that it covers no text.
        T.ScrollBar.vertical: ThinScrollBar {
            parent: root
            steady: true
            anchors.top: view.top
            anchors.bottom: view.bottom
            anchors.left: view.right
            anchors.leftMargin: Theme.space2
        }

        SelectableText {
            id: detail

            width: view.width
            focus: true
            label: root.label
            content: root.content
            lineHeight: Theme.lineCallout
            wrapMode: TextEdit.WrapAtWordBoundaryOrAnywhere
            font: Theme.calloutFont
            Keys.onPressed: event => {
                if (event.key === Qt.Key_PageUp || event.key === Qt.Key_PageDown)
                    keys.press(event)
            }
            // A new text is read from its beginning, wherever laying it out has left the cursor.
            onTextChanged: {
                cursorPosition = 0
                view.contentY = 0
            }
            onCursorRectangleChanged: {
                if (cursorRectangle.y < view.contentY)
                    view.contentY = cursorRectangle.y
                else if (cursorRectangle.y + cursorRectangle.height > view.contentY + view.height)
                    view.contentY = cursorRectangle.y + cursorRectangle.height - view.height
            }
        }
    }
}
