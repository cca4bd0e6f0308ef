import QtQuick
import Tessarin

// The path as text, and the way up. Return goes to what was typed; on the folder that is shown it chooses it.
Item {
    id: root

    required property FolderPicker picker
    readonly property string path: field.text

    function selectPath() {
        field.forceActiveFocus()
        field.selectAll()
    }

    function enter() {
        if (field.text === picker.path) {
            picker.accept(field.text)
        } else {
            picker.goTo(field.text)
        }
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
        onAccepted: root.enter()

        Connections {
            target: root.picker

            function onPathChanged() { field.text = root.picker.path }
        }
    }
}
