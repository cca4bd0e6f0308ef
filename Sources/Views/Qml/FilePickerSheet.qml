pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// The dialog for a file where the desktop has none: a path to type, and the folders and files that are there.
SheetPopup {
    id: root

    required property FilePicker picker

    title: picker.title
    sheetHeight: column.height
    onRejected: picker.cancel()

    Column {
        id: column

        width: root.availableWidth
        spacing: Theme.space12

        Line {
            width: parent.width
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
            height: Math.max(Theme.sheetListLeast, Math.min(Theme.sheetListHeight, (root.parent?.height ?? 0) - Theme.sheetAroundList))
            name: "Files"
            emptyText: "Nothing here"
            entries: root.picker.entries
            row: Component {
                FileRow {
                    picker: root.picker
                    onPicked: path => field.show(path)
                }
            }
        }

        Prose {
            width: parent.width
            visible: text !== ""
            text: root.picker.problem
            color: Theme.red
        }

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
