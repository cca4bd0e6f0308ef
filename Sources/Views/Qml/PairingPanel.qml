import QtQuick
import Tessarin

// How a device is paired: the code, what to do with it, and the way to unpair them all.
Column {
    id: root

    required property RemoteSettingsModel remote

    spacing: Theme.space12
    topPadding: Theme.space4

    Hairline { width: parent.width }

    Row {
        width: parent.width
        spacing: Theme.space18

        PairingQRCode {
            id: code

            value: root.remote.pairingLink
        }

        Column {
            id: words

            width: parent.width - code.width - parent.spacing
            spacing: Theme.space8

            HeadingLine {
                text: "Pair the Android app"
                font: Theme.bodyStrongFont
            }

            Prose {
                width: parent.width
                text: "Scan this code or paste the pairing link on Android. Use the Mac’s Tailscale IP for access away from your home network."
            }

            Row {
                width: parent.width
                spacing: Theme.space8

                SystemSymbol {
                    id: mark

                    name: "exclamationmark.triangle.fill"
                    size: Theme.symbolSmall
                    color: Theme.orangeMark
                }

                Prose {
                    width: parent.width - mark.width - parent.spacing
                    text: "The link is a secret. Anyone who has it can request actions until you rotate the key."
                    font: Theme.captionFont
                    color: Theme.orange
                }
            }

            PushButton {
                text: "Rotate Access Key"
                onClicked: root.remote.rotateAccessKey()
            }
        }
    }
}
