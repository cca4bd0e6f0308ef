import QtQuick
import Tessarin

// Whether paired devices may come in, how the host is, and how a device is paired.
SettingsSection {
    id: root

    required property RemoteSettingsModel remote
    property bool copied: false

    heading: "Android Remote"

    ToggleSwitch {
        width: parent.width
        text: "Allow paired Android devices to control this Mac"
        isOn: root.remote.isEnabled
        onSwitched: isOn => root.remote.setEnabled(isOn)
    }

    Row {
        spacing: Theme.space8

        StatusLabel {
            label: root.remote.stateLabel
            tint: Theme.tint(root.remote.stateTint)
            size: Theme.dotLarge
        }

        Line {
            visible: text !== ""
            text: root.remote.connectedText
            font: Theme.captionFont
            color: Theme.secondaryText
        }
    }

    Prose {
        width: parent.width
        visible: text !== ""
        text: root.remote.failureText
        font: Theme.captionFont
        color: Theme.red
    }

    Item {
        width: parent.width
        height: Theme.controlHeight
        visible: root.remote.isEnabled

        AddressField {
            anchors.left: parent.left
            anchors.right: copy.left
            anchors.rightMargin: Theme.space8
            remote: root.remote
        }

        PushButton {
            id: copy

            anchors.right: parent.right
            enabled: root.remote.pairingLink !== ""
            text: "Copy Pairing Link"
            onClicked: {
                root.remote.copyPairingLink()
                notice.restart()
            }

            HoverTip {
                text: "Copied"
                shown: root.copied
                delay: 0
            }
        }
    }

    PairingPanel {
        width: parent.width
        visible: root.remote.isEnabled && root.remote.pairingLink !== ""
        remote: root.remote
    }

    SequentialAnimation {
        id: notice

        PropertyAction { target: root; property: "copied"; value: true }
        PauseAnimation { duration: Theme.durationCopied }
        PropertyAction { target: root; property: "copied"; value: false }
    }
}
