import QtQuick
import QtQuick.Templates as T
import Tessarin

// One task in the sidebar. `updated` is empty for a task that has no entries yet. Space shows the task, Return goes on to write in it.
T.ItemDelegate {
    id: root

    required property WindowModel windowModel
    required property string title
    required property string updated
    required property bool current
    required property string workspaceID
    required property string threadID
    required property bool reachable

    signal opened()

    function open() {
        clicked()
        opened()
    }

    implicitHeight: updated === "" ? Theme.rowTaskNew : Theme.rowTask
    focusPolicy: reachable || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    text: title
    Accessible.name: title
    Accessible.description: updated
    Accessible.selectable: true
    Accessible.selected: current
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: open()
    Keys.onEnterPressed: open()
    Keys.onPressed: event => menu.press(event)
    onClicked: windowModel.selectTask(workspaceID, threadID)

    SystemSymbol {
        id: bubble

        x: Theme.space8
        y: root.updated === "" ? (parent.height - height) / 2 : Theme.space6
        name: "bubble.left"
        color: root.current ? Theme.accent : Theme.secondaryText
    }

    Column {
        anchors.left: bubble.right
        anchors.leftMargin: Theme.space8
        anchors.right: parent.right
        anchors.rightMargin: Theme.space8
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.space2

        Line {
            id: label

            width: parent.width
            text: root.title
            font: root.current ? Theme.calloutMediumFont : Theme.calloutFont
            Accessible.ignored: true
        }

        Line {
            width: parent.width
            visible: root.updated !== ""
            text: root.updated
            font: Theme.captionFont
            color: Theme.secondaryText
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: root.current ? Theme.accentTint : root.down ? Theme.pressed : root.hovered ? Theme.hover : "transparent"

        FocusRing {
            control: root
            inside: true
        }
    }

    HoverTip {
        text: label.truncated ? root.title : ""
        shown: root.hovered
    }

    ContextMenu {
        id: menu

        text: "Delete Task"
        onTriggered: root.windowModel.deleteTask(root.workspaceID, root.threadID)
    }
}
