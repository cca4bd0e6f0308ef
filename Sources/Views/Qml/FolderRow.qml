import QtQuick
import QtQuick.Templates as T
import Tessarin

// One folder: a press goes into it.
T.ItemDelegate {
    id: root

    required property FolderPicker picker
    required property string modelData

    width: ListView.view ? ListView.view.width : 0
    implicitHeight: Theme.rowMenu
    text: modelData
    highlighted: ListView.isCurrentItem && ListView.view.activeFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    onClicked: picker.goTo(modelData)

    SystemSymbol {
        id: mark

        x: Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        name: "folder"
        color: Theme.secondaryText
    }

    Line {
        anchors.left: mark.right
        anchors.leftMargin: Theme.space8
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.highlighted ? Theme.accentTint : root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"
    }
}
