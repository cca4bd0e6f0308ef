import QtQuick
import Tessarin

// A folder, which a press goes into, or a file, which a press picks and Return or a second press chooses.
PickerRow {
    id: root

    required property FilePicker picker
    required property string modelData

    readonly property bool isFolder: modelData.endsWith("/")

    signal picked(string path)

    text: isFolder ? modelData.slice(0, -1) : modelData
    symbol: isFolder ? "folder" : "doc.text"
    onClicked: {
        if (isFolder) {
            picker.goTo(picker.pathOf(text))
        } else {
            picked(picker.pathOf(text))
        }
    }
    onDoubleClicked: if (!isFolder) picker.accept(picker.pathOf(text))
    Keys.onReturnPressed: picker.accept(picker.pathOf(text))
    Keys.onEnterPressed: picker.accept(picker.pathOf(text))
}
