import QtQuick
import Tessarin

// Where every prompt leaves: the text above; project, routing and the round button below.
Rectangle {
    id: root

    required property ConversationModel conversation
    required property PermissionModel permission
    property alias text: field.text

    function takeFocus() {
        field.forceActiveFocus()
    }

    function submit() {
        const prompt = conversation.promptToSend(text)
        if (prompt !== "") {
            field.clear()
            conversation.send(prompt)
        }
    }

    // The button is out of reach when there is nothing to send; so the focus goes where the next message is typed.
    function press() {
        Qt.inputMethod.commit() // qmllint disable type
        if (conversation.isWorking) {
            conversation.stopWorking()
        } else {
            submit()
        }
        takeFocus()
    }

    implicitHeight: field.height + controls.height + Theme.space12 + 2 * Theme.space8
    radius: Theme.radiusExtraLarge
    color: Theme.card
    border.width: field.areaFocus ? Theme.focusWidth : Theme.hairline
    border.color: field.areaFocus ? Theme.accent : Theme.stroke

    SoftShadow { z: -1 }

    TapHandler { onTapped: root.takeFocus() }

    MessageDrop {
        anchors.fill: parent
        onGiven: (text, x, y) => field.insertAt(text, x - field.x, y - field.y)
    }

    ComposerField {
        id: field

        y: Theme.space12
        width: parent.width
        onSubmitted: root.submit()
    }

    Item {
        id: controls

        anchors.top: field.bottom
        anchors.topMargin: Theme.space8
        x: Theme.space8
        width: parent.width - 2 * Theme.space8 - Theme.space2
        height: Theme.controlHeight

        Row {
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.space8

            ProjectLabel { name: root.conversation.projectName }

            Hairline {
                anchors.verticalCenter: parent.verticalCenter
                height: Theme.symbolMedium
            }

            RoutingMenuButton { conversation: root.conversation }

            PermissionMenuButton { permission: root.permission }
        }

        SendButton {
            anchors.right: parent.right
            working: root.conversation.isWorking
            enabled: working || (root.conversation.canSend && root.conversation.promptToSend(root.text) !== "")
            onClicked: root.press()
        }
    }
}
