pragma ComponentBehavior: Bound

import QtQuick

// The keys of the program, in groups.
SheetPopup {
    id: root

    title: "Keyboard Shortcuts"
    width: Theme.shortcutsWidth
    sheetHeight: heading.height + Theme.space12 + Math.max(first.height, others.height) + Theme.space18 + close.height

    Line {
        id: heading

        text: root.title
        font: Theme.titleFont
    }

    ShortcutGroups {
        id: first

        anchors.top: heading.bottom
        anchors.topMargin: Theme.space12
        width: (root.availableWidth - Theme.space36) / 2
        groups: Shortcuts.groups.slice(0, 2) // as long as the others
    }

    ShortcutGroups {
        id: others

        anchors.top: first.top
        anchors.right: parent.right
        width: first.width
        groups: Shortcuts.groups.slice(2)
    }

    PushButton {
        id: close

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        focus: true
        text: "Close"
        onClicked: root.close()
    }
}
