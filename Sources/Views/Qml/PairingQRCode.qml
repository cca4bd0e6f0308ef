import QtQuick
import Tessarin

// A text as a code to be scanned, black on white in both looks; a symbol where there is none.
Rectangle {
    id: root

    required property string value

    width: code.hasCode ? code.width + 2 * Theme.space8 : Theme.qrCode
    height: width
    radius: Theme.radiusMedium
    color: Theme.paper
    border.width: Theme.dark ? 0 : Theme.hairline
    border.color: Theme.stroke
    Accessible.role: Accessible.Graphic
    Accessible.name: "Android pairing QR code"

    PairingCode {
        id: code

        anchors.centerIn: parent
        value: root.value
        wantedSize: Theme.qrCode - 2 * Theme.space8
    }

    SystemSymbol {
        anchors.centerIn: parent
        visible: !code.hasCode
        name: "qrcode"
        size: Theme.symbolCode
        color: Theme.ink
    }
}
