import QtQuick
import Tessarin

// The lower part of a card: prompt, age, kind, and the button that opens the creation.
Item {
    id: root

    required property string prompt
    required property string excerpt
    required property string created
    required property int format
    required property string kind
    required property bool reachable

    signal opened()

    Prose {
        id: text

        x: Theme.space12
        y: Theme.space12
        width: parent.width - 2 * Theme.space12
        height: 2 * Theme.lineCallout
        text: root.excerpt
        color: Theme.text
        maximumLineCount: 2
        elide: Text.ElideRight
        Accessible.ignored: true

        HoverHandler { id: hover }

        HoverTip {
            text: text.truncated ? root.excerpt : ""
            shown: hover.hovered
        }
    }

    Line {
        anchors.top: text.bottom
        anchors.topMargin: Theme.space4
        x: Theme.space12
        width: text.width
        text: root.created
        font: Theme.captionFont
        color: Theme.secondaryText
        Accessible.ignored: true
    }

    SystemSymbol {
        id: mark

        x: Theme.space12
        anchors.verticalCenter: open.verticalCenter
        name: root.format === ImagineFormat.Video ? "video" : "photo"
        size: Theme.symbolSmall
        color: Theme.secondaryText
    }

    Line {
        anchors.left: mark.right
        anchors.leftMargin: Theme.space6
        anchors.verticalCenter: open.verticalCenter
        text: root.kind
        font: Theme.captionFont
        color: Theme.secondaryText
        Accessible.ignored: true
    }

    SymbolButton {
        id: open

        anchors.right: parent.right
        anchors.rightMargin: Theme.space6
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.space4
        focusPolicy: root.reachable || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        symbol: "arrow.up.forward.square"
        toolTip: "Open"
        Accessible.description: root.prompt
        onClicked: root.opened()
    }
}
