pragma ComponentBehavior: Bound

import QtQuick

// The keys of the program.
SheetPopup {
    id: root

    title: "Keyboard Shortcuts"
    sheetHeight: column.height

    readonly property var shortcuts: [
        { keys: "Return", does: "Send the message" }, { keys: "Shift+Return", does: "Add a line to the message" },
        { keys: "Ctrl+N", does: "New task" }, { keys: "Ctrl+O", does: "Open a project" },
        { keys: "F9", does: "Show or hide the sidebar" }, { keys: "F10", does: "Go to the menus" },
        { keys: "Tab", does: "Go to the next control" }, { keys: "Page Up, Page Down", does: "Scroll the messages" },
        { keys: "Ctrl+?", does: "Keyboard shortcuts" }, { keys: "Ctrl+Q", does: "Quit" },
    ]

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space6

        Line {
            bottomPadding: Theme.space8
            text: root.title
            font: Theme.titleFont
        }

        Repeater {
            model: root.shortcuts

            Item {
                id: row

                required property var modelData

                width: parent.width
                height: Theme.controlTiny

                Line {
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.modelData.does
                }

                Line {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.modelData.keys
                    color: Theme.secondaryText
                }
            }
        }

        Item {
            width: parent.width
            height: close.height + Theme.space12

            PushButton {
                id: close

                anchors.right: parent.right
                anchors.bottom: parent.bottom
                focus: true
                text: "Close"
                onClicked: root.close()
            }
        }
    }
}
