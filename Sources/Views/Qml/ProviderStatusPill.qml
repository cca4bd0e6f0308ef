import QtQuick
import Tessarin

// Which provider has the task, and how much of its allowance is used.
Rectangle {
    id: root

    required property ConversationModel conversation

    implicitWidth: row.implicitWidth + 2 * Theme.spaceRow
    implicitHeight: Theme.controlSmall
    radius: height / 2
    color: Theme.hover
    border.width: Theme.hairline
    border.color: Theme.stroke
    Accessible.role: Accessible.StaticText
    Accessible.name: usage.visible ? provider.text + " " + usage.text : provider.text
    Accessible.description: conversation.providerHelp

    Row {
        id: row

        anchors.centerIn: parent
        spacing: Theme.space6

        SystemSymbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.conversation.providerSymbol
            size: Theme.symbolSmall
            color: Theme.accent
        }

        Line {
            id: provider

            anchors.verticalCenter: parent.verticalCenter
            text: root.conversation.providerLabel
            font: Theme.captionStrongFont
            Accessible.ignored: true
        }

        Line {
            id: usage

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, Theme.usageMaximum)
            visible: text !== ""
            text: root.conversation.usageText
            font: Theme.captionFont
            color: Theme.tint(root.conversation.usageTint)
            Accessible.ignored: true
        }
    }

    HoverHandler { id: hover }

    HoverTip {
        text: root.conversation.providerHelp
        shown: hover.hovered
    }
}
