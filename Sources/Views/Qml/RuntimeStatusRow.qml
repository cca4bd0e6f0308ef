import QtQuick
import Tessarin

// How a runtime is, below a line: whether it is there and signed in, what is left of its allowance, and what can be done.
Item {
    id: root

    required property RuntimeSettingsModel runtime

    implicitHeight: Theme.space4 + Theme.space8 + Theme.controlHeight

    Hairline {
        y: Theme.space4
        width: parent.width
    }

    Row {
        anchors.left: parent.left
        anchors.right: buttons.left
        anchors.rightMargin: Theme.space8
        anchors.verticalCenter: buttons.verticalCenter
        spacing: Theme.space8

        SystemSymbol {
            id: mark

            anchors.verticalCenter: parent.verticalCenter
            name: root.runtime.statusSymbol
            color: Theme.tint(root.runtime.statusTint)
        }

        Line {
            id: status

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, parent.width - mark.width - parent.spacing - (usage.visible ? usage.width + parent.spacing : 0))
            text: root.runtime.statusLabel
            font: Theme.calloutMediumFont
            color: Theme.textTint(root.runtime.statusTint)

            HoverHandler { id: pointer }

            HoverTip {
                text: root.runtime.statusLabel
                shown: pointer.hovered && status.truncated
            }
        }

        Line {
            id: usage

            anchors.verticalCenter: parent.verticalCenter
            visible: text !== ""
            text: root.runtime.usageText
            font: Theme.captionFont
            color: Theme.textTint(root.runtime.usageTint)
        }
    }

    Row {
        id: buttons

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        spacing: Theme.space8

        PushButton {
            text: "Refresh"
            Accessible.description: root.runtime.heading
            onClicked: root.runtime.refresh()
        }

        PushButton {
            visible: root.runtime.canSignIn
            prominent: true
            text: root.runtime.signInTitle
            onClicked: root.runtime.signIn()
        }
    }
}
