import QtQuick
import Tessarin

// The path as text, and the way up. Return takes what was typed.
Item {
    id: root

    required property FolderPicker picker
    readonly property string path: field.text

    function selectPath() {
        field.forceActiveFocus()
        field.selectAll()
    }

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
        name: "Path"
        text: root.picker.path
        onAccepted: root.picker.submit(text)

        Connections {
            target: root.picker

            function onPathChanged() { field.text = root.picker.path }
        }
    }
}
