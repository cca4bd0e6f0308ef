pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The dialog for a folder where the desktop has none: a path to type, the folders that are there, and a new one.
SheetPopup {
    id: root

    required property FolderPicker picker

    title: picker.title
    sheetHeight: column.height
    onRejected: picker.cancel()

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space12

        Line {
            text: root.title
            font: Theme.titleFont
        }

        PathRow {
            id: field

            width: parent.width
            picker: root.picker
        }

        PickerList {
            width: parent.width
            name: "Folders"
            emptyText: "No folders here"
            entries: root.picker.folders
            row: Component { FolderRow { picker: root.picker } }
        }

        Prose {
            width: parent.width
            visible: text !== ""
            text: root.picker.problem
            color: Theme.red
        }

        Item {
            width: parent.width
            height: Theme.controlHeight

            NewFolderRow { picker: root.picker }

            Row {
                anchors.right: parent.right
                spacing: Theme.space8

                PushButton {
                    text: "Cancel"
                    onClicked: root.picker.cancel()
                }

                PushButton {
                    prominent: true
                    text: root.picker.prompt
                    onClicked: root.picker.accept(field.path)
                }
            }
        }
    }
}
