import QtQuick
import Tessarin

// The list of messages with the row that says who works: it follows the last entry, and stays in sight at the bottom of a long list.
Item {
    id: root

    required property ConversationModel conversation

    MessageList {
        id: list

        width: parent.width
        height: root.conversation.isWorking ? working.place : parent.height
        entries: root.conversation.entries
    }

    // The list runs out softly.
    Rectangle {
        y: list.height - height
        width: parent.width
        height: Theme.fade
        gradient: Gradient {
            GradientStop { position: 0; color: Qt.alpha(Theme.window, 0) }
            GradientStop { position: 1; color: Theme.window }
        }
    }

    WorkingRow {
        id: working

        // Where it stands below a list that fills the pane.
        readonly property real place: root.height - height - Theme.space6

        x: (root.width - width) / 2
        y: Math.min(place, list.topMargin + list.contentHeight + Theme.space18)
        width: Math.min(Theme.columnMaximum, root.width - 2 * Theme.columnInset)
        visible: root.conversation.isWorking
        text: root.conversation.workingText
        running: visible
    }
}
