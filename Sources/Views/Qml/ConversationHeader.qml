import QtQuick
import Tessarin

// Title and folder of the task at the left, provider and connection at the right.
Item {
    id: root

    required property ConversationModel conversation
    required property bool sidebarShown

    signal toggleSidebar()

    implicitHeight: Theme.headerHeight

    SymbolButton {
        id: toggle

        x: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "sidebar.left"
        toolTip: root.sidebarShown ? "Hide the sidebar" : "Show the sidebar"
        onClicked: root.toggleSidebar()
    }

    Column {
        anchors.left: toggle.right
        anchors.leftMargin: Theme.space12
        anchors.right: pill.left
        anchors.rightMargin: Theme.space24
        anchors.verticalCenter: parent.verticalCenter

        TipLine {
            width: parent.width
            text: root.conversation.title
            font: Theme.bodyStrongFont
        }

        TipLine {
            width: parent.width
            text: root.conversation.path
            elide: Text.ElideMiddle
            font: Theme.captionFont
            color: Theme.secondaryText
        }
    }

    ProviderStatusPill {
        id: pill

        anchors.right: status.left
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        conversation: root.conversation
    }

    StatusLabel {
        id: status

        anchors.right: reveal.left
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        label: root.conversation.connectionLabel
        tint: Theme.tint(root.conversation.connectionTint)
    }

    SymbolButton {
        id: reveal

        anchors.right: parent.right
        anchors.rightMargin: Theme.space12
        anchors.verticalCenter: parent.verticalCenter
        symbol: "folder"
        toolTip: "Reveal project in Finder"
        onClicked: root.conversation.revealProject()
    }

    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }
}
