pragma ComponentBehavior: Bound

import QtQuick
import Tessarin

// One runtime: where its program is, what to know of it, and its state with what can be done about it.
SettingsSection {
    id: root

    required property RuntimeSettingsModel runtime

    heading: runtime.heading

    Item {
        width: parent.width
        height: path.height

        StoredEntry {
            id: path

            anchors.left: parent.left
            anchors.right: choose.left
            anchors.rightMargin: Theme.space8
            name: root.runtime.pathTitle
            placeholderText: name
            stored: root.runtime.path
            storesAsTyped: true
            onEntered: text => root.runtime.setPath(text)
        }

        PushButton {
            id: choose

            anchors.right: parent.right
            text: "Choose…"
            Accessible.description: root.runtime.chooserTitle
            onClicked: root.runtime.choosePath()
        }
    }

    StoredEntry {
        width: parent.width
        visible: root.runtime.modelTitle !== ""
        name: root.runtime.modelTitle
        placeholderText: name
        stored: root.runtime.modelName
        storesAsTyped: true
        onEntered: text => root.runtime.setModelName(text)
    }

    Prose {
        width: parent.width
        visible: text !== ""
        text: root.runtime.modelCaption
        font: Theme.captionFont
        color: root.runtime.isModelAccepted ? Theme.secondaryText : Theme.red
    }

    Repeater {
        model: root.runtime.captions

        Prose {
            required property string modelData

            width: parent ? parent.width : 0
            text: modelData
            font: Theme.captionFont
        }
    }

    InstallLine {
        width: parent.width
        visible: text !== ""
        text: root.runtime.installLine
    }

    RuntimeStatusRow {
        width: parent.width
        runtime: root.runtime
    }
}
