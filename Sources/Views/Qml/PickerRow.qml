import QtQuick
import QtQuick.Templates as T
import Tessarin

// One entry of the folder that is shown.
T.ItemDelegate {
    id: root

    required property string symbol

    width: ListView.view ? ListView.view.width : 0
    implicitHeight: Theme.rowMenu
    highlighted: ListView.isCurrentItem && ListView.view.activeFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()

    SystemSymbol {
        id: mark

        x: Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
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
