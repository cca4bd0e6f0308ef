import QtQuick

// The head of a code block: its language, and a button that copies the code and shows for a moment that it did.
Item {
    id: root

    required property string language
    property bool copied: false

    signal copy()

    height: Theme.controlHeight

    Line {
        anchors.left: parent.left
        anchors.leftMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        text: root.language
        font: Theme.captionFont
        color: Theme.secondaryText
    }

    SymbolButton {
        anchors.right: parent.right
        anchors.rightMargin: Theme.space4
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: Theme.controlTiny
        implicitHeight: Theme.controlTiny
        symbol: root.copied ? "checkmark" : "doc.on.doc"
        symbolSize: Theme.symbolSmall
        toolTip: root.copied ? "Copied" : "Copy"
        onClicked: {
            root.copy()
            notice.restart()
        }
    }

    SequentialAnimation {
        id: notice

        PropertyAction { target: root; property: "copied"; value: true }
        PauseAnimation { duration: Theme.durationCopied }
        PropertyAction { target: root; property: "copied"; value: false }
    }
}
