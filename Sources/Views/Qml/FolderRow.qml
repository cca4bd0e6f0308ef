import QtQuick
import Tessarin

// One folder: a press goes into it.
PickerRow {
    required property FolderPicker picker
    required property string modelData

    text: modelData
    symbol: "folder"
    onClicked: picker.goTo(modelData)
}
