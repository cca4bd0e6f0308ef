import QtQuick
import Tessarin

// The path as text, and the way up. Return takes what was typed; the first letter takes the place of the path that stands.
Item {
    id: root

    required property FolderPicker picker
    readonly property string path: field.text

    function show(path) {
        field.text = path
    }

    implicitHeight: field.height

    SymbolButton {
        id: up

        implicitWidth: Theme.controlHeight
        implicitHeight: Theme.controlHeight
        symbol: "arrow.up"
        toolTip: "Up one folder"
        enabled: root.picker.canGoUp
        onClicked: root.picker.goUp()
    }

    TextEntry {
        id: field

        anchors.left: up.right
        anchors.leftMargin: Theme.space8
        anchors.right: parent.right
        focus: true
        name: "Path"
        text: root.picker.path
        onAccepted: root.picker.submit(text)
        Component.onCompleted: selectAll()

        Connections {
            target: root.picker

            function onPathChanged() { field.text = root.picker.path }
        }
    }
}
