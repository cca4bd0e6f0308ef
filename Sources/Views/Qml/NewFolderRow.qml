import QtQuick
import Tessarin

// A button that turns into the field for the name of a new folder.
Item {
    id: root

    required property FolderPicker picker
    property bool naming: false

    width: button.width
    height: button.height

    PushButton {
        id: button

        visible: !root.naming
        text: "New Folder"
        onClicked: {
            root.naming = true
            field.forceActiveFocus()
        }
    }

    TextEntry {
        id: field

        width: Theme.menuMinimum
        visible: root.naming
        name: "Name of the new folder"
        placeholderText: "Name"
        onAccepted: {
            root.naming = false
            root.picker.createFolder(text)
            clear()
        }
        Keys.onEscapePressed: root.naming = false
    }
}
