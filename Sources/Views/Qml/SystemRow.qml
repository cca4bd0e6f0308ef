import QtQuick
import Tessarin

// A line of the program itself, across the whole column.
EntryRow {
    id: root

    required property EntryListModel entries

    name: "Note"
    texts: text

    PlainPages {
        id: text

        x: (parent.width - width) / 2
        width: Math.min(Math.ceil(implicitWidth), parent.width)
        entries: root.entries
        row: root.index
        label: root.name
        lineHeight: Theme.lineCaption
        centred: true
        font: Theme.captionFont
        color: Theme.secondaryText
    }

    Hairline {
        anchors.left: parent.left
        anchors.right: text.left
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: text.verticalCenter
        visible: width > Theme.space12
    }

    Hairline {
        anchors.left: text.right
        anchors.leftMargin: Theme.space12
        anchors.right: parent.right
        anchors.verticalCenter: text.verticalCenter
        visible: width > Theme.space12
    }
}
