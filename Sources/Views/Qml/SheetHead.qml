import QtQuick
import QtQuick.Templates as T

// The head of a sheet: a symbol, what it is about, and below it the particular, in full however long it is.
Item {
    id: root

    required property string symbol
    required property string heading
    required property string subject

    implicitHeight: Math.max(mark.height, texts.height)

    ScrollKeys {
        id: keys

        view: view
    }

    ScrollFocus {
        view: view
        inset: Theme.space2
    }

    SystemSymbol {
        id: mark

        y: Theme.space4
        name: root.symbol
        size: Theme.symbolSheet
        color: Theme.accent
    }

    Column {
        id: texts

        anchors.left: mark.right
        anchors.leftMargin: Theme.spaceSheetHeader
        anchors.right: parent.right
        spacing: Theme.space2

        Line {
            width: parent.width
            text: root.heading
            font: Theme.titleFont
        }

        Flickable {
            id: view

            width: parent.width
            height: Math.min(subject.height, 3 * Theme.lineCallout)
            contentHeight: subject.height
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            activeFocusOnTab: contentHeight > height
            Accessible.role: Accessible.Pane
            Accessible.name: root.subject
            Keys.onPressed: event => keys.press(event)

            T.ScrollBar.vertical: ThinScrollBar {
                parent: root
                steady: true
                y: texts.y + view.y
                height: view.height
                anchors.left: parent.right
                anchors.leftMargin: Theme.space4
            }

            Prose {
                id: subject

                width: parent.width
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                text: root.subject
            }
        }
    }
}
