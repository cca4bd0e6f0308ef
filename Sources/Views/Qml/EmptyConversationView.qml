import QtQuick
import Tessarin

// A task without entries: what can be asked, and three prompts to begin with.
Item {
    id: root

    required property ConversationModel conversation

    signal sent()

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.columnInset
        spacing: Theme.space12

        SystemSymbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "sparkles"
            size: Theme.symbolSheet
            color: Theme.accent
        }

        Line {
            width: parent.width
            topPadding: Theme.space4
            horizontalAlignment: Text.AlignHCenter
            text: "What should we build?"
            font: Theme.largeFont
        }

        Prose {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "Grok or Codex can inspect this project, edit files, run commands,\nand show each action here for approval."
            font: Theme.bodyFont
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            topPadding: Theme.space12
            spacing: Theme.space8

            PromptChip { text: "Explain this project"; conversation: root.conversation; onClicked: root.sent() }
            PromptChip { text: "Find and fix a bug"; conversation: root.conversation; onClicked: root.sent() }
            PromptChip { text: "Add a new feature"; conversation: root.conversation; onClicked: root.sent() }
        }
    }
}
