import QtQuick
import Tessarin

// A ready prompt, sent as it stands when pressed.
PushButton {
    id: root

    required property ConversationModel conversation

    onClicked: conversation.send(text)
}
