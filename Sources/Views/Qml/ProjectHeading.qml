import QtQuick
import Tessarin

// The heading of a project. Its menu is opened by the second button, or by the menu key while its button has the focus.
Item {
    id: root

    required property WindowModel windowModel
    required property string name
    required property string workspaceID
    required property bool first

    signal taskMade()

    implicitHeight: Theme.controlSmall + (first ? 0 : Theme.space18 - Theme.space2)
    Accessible.role: Accessible.Heading
    Accessible.name: name

    SystemSymbol {
        id: mark

        x: Theme.space8
        anchors.verticalCenter: button.verticalCenter
        name: "folder.fill"
        color: Theme.secondaryText
    }

    Line {
        anchors.left: mark.right
        anchors.leftMargin: Theme.space8
        anchors.right: button.left
        anchors.verticalCenter: button.verticalCenter
        text: root.name
        font: Theme.calloutStrongFont
        Accessible.ignored: true
    }

    SymbolButton {
        id: button

        anchors.right: parent.right
        anchors.rightMargin: Theme.space2
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.space2
        implicitWidth: Theme.controlTiny
        implicitHeight: Theme.controlTiny
        symbol: "plus"
        symbolSize: Theme.symbolSmall
        toolTip: "New task in " + root.name
        onClicked: {
            root.windowModel.newTaskIn(root.workspaceID)
            root.taskMade()
        }
        Keys.onMenuPressed: menu.open()
    }

    ContextMenu {
        id: menu

        text: "Remove Project"
        onTriggered: root.windowModel.removeProject(root.workspaceID)
    }
}
