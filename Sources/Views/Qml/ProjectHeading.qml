import QtQuick
import Tessarin

// The heading of a project: its name, and the way to a new task in it, which has the focus of the keyboard.
FocusScope {
    id: root

    required property WindowModel windowModel
    required property string name
    required property string workspaceID
    required property bool first
    required property bool reachable

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

    TipLine {
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
        focus: true
        focusPolicy: root.reachable || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        symbol: "plus"
        symbolSize: Theme.symbolSmall
        toolTip: "New task in " + root.name
        onClicked: {
            root.windowModel.newTaskIn(root.workspaceID)
            root.taskMade()
        }
        Keys.onPressed: event => menu.press(event)
    }

    ContextMenu {
        id: menu

        text: "Remove Project"
        onTriggered: root.windowModel.removeProject(root.workspaceID)
    }
}
