import QtQuick
import Tessarin

// The place of one entry in the list: the gap above it, and the column in which all entries stand.
OrderedItem {
    id: root

    required property int index
    required property int gap
    required property string name
    // What can be read of it, when there is any.
    property TextSelection texts: null
    readonly property bool selecting: texts !== null && texts.hasSelection
    default property alias body: column.data

    order: index
    width: ListView.view ? ListView.view.width : 0
    height: column.y + column.childrenRect.height
    Accessible.role: Accessible.ListItem
    Accessible.name: name
    // The list keeps its current row wherever it is scrolled to, and with it the selection.
    onSelectingChanged: if (selecting && ListView.view) ListView.view.currentIndex = index

    // The keys have gone to this message.
    Rectangle {
        x: column.x - Theme.space6
        y: column.y - Theme.space6
        width: column.width + 2 * Theme.space6
        height: column.childrenRect.height + 2 * Theme.space6
        radius: Theme.radiusSmall
        color: "transparent"
        border.width: Theme.focusWidth
        border.color: Theme.accent
        visible: root.texts !== null && root.texts.hasKeys
    }

    Item {
        id: column

        x: (root.width - width) / 2
        y: Theme.rowGap(root.gap)
        width: Math.min(Theme.columnMaximum, root.width - 2 * Theme.columnInset)
    }
}
