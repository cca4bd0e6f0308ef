import QtQuick

// What went wrong, above the conversation, until it is dismissed.
Item {
    id: root

    required property string message

    signal dismiss()

    implicitHeight: Math.max(Theme.controlHeight + Theme.space12, text.implicitHeight + 2 * Theme.space12)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    SoftShadow {}

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusLarge
        color: Theme.card
        border.width: Theme.hairline
        border.color: Theme.stroke
    }

    SystemSymbol {
        id: mark

        x: Theme.spaceBanner
        anchors.verticalCenter: parent.verticalCenter
        name: "exclamationmark.triangle.fill"
        size: Theme.symbolBanner
        color: Theme.orangeMark
    }

    Prose {
        id: text

        anchors.left: mark.right
        anchors.leftMargin: Theme.spaceRow
        anchors.right: close.left
        anchors.rightMargin: Theme.spaceRow
        anchors.verticalCenter: parent.verticalCenter
        text: root.message
        color: Theme.text
        maximumLineCount: Theme.bannerLines
        elide: Text.ElideRight
        wrapMode: Text.Wrap
    }

    HoverHandler { id: hover }

    HoverTip {
        text: text.truncated ? root.message : ""
        shown: hover.hovered
    }

    SymbolButton {
        id: close

        anchors.right: parent.right
        anchors.rightMargin: Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        symbol: "xmark"
        symbolSize: Theme.symbolSmall
        toolTip: "Dismiss"
        onClicked: root.dismiss()
    }
}
