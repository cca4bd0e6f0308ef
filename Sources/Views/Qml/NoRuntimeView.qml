import QtQuick
import Tessarin

// No runtime can run yet: which ones there are, and the way on when one has been installed.
Item {
    id: root

    required property ConversationModel conversation

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.columnInset
        spacing: Theme.space12

        SystemSymbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "terminal"
            size: Theme.symbolSheet
            color: Theme.accent
        }

        Line {
            width: parent.width
            topPadding: Theme.space4
            horizontalAlignment: Text.AlignHCenter
            text: "No agent is installed yet"
            font: Theme.titleFont
        }

        Prose {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Install Grok Build, Codex, Kimi Code, OpenCode or Claude Code and sign in with your subscription.\nIt is found on your PATH and in its usual place."
            font: Theme.bodyFont
        }

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: again.width
            height: again.height + Theme.space8

            PushButton {
                id: again

                y: Theme.space8
                text: "Check Again"
                onClicked: root.conversation.checkAgain()
            }
        }
    }
}
